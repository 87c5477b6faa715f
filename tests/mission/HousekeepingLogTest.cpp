#include "mission/inputs/Inputs.h"

#include <gtest/gtest.h>

#include "support/TempFolder.h"
#include "support/TestJob.h"

namespace kv::mission {
namespace {

TEST(HousekeepingLog, TellsWhatItLeavesOutOrTakesAsItIs) {
  const std::string entry = "INFO,2024-05-01 12:00:00,CCU,";
  struct {
    std::string content;
    std::size_t entries;
    std::vector<const char*> warnings;
  } const rows[] = {
      {entry + "1\r\n\r\n" + entry + "2", 2, {}},
      {entry + "1\nINFO,2024-05-01 12:00:00\n,,a,b\n" + entry + "2\n",
       2,
       {"housekeeping log: 2 lines left out, fewer than three fields: line 2, 3"}},
      {entry + std::string(1023 - entry.size(), '1') + "\r\n" + entry + "2\n",
       2,
       {"1 reading is not a finite number, first in line 1"}},
      {entry + "1\n\n" + entry + std::string(1024 - entry.size(), 'x') + "\n" + entry + "2\n",
       1,
       {"housekeeping log: line 3 has 1024 characters or more"}},
      {"INFO,2023-02-29 12:00:00,CCU,1\nA,B,C\n" + entry + "1\n",
       3,
       {"2 entries without a valid date and time, line 1, 2:"}},
      {entry + "1\n" + entry + "2\x1A" + entry + "3\n", 2, {}},  // Ctrl-Z ends the text, within a line too
      {entry + "1\nA,2024-05-01 12:00:00,\r", 2, {}},            // a CR without a LF ends no line and is a field
      {entry + "1\n" + entry + "on\nI,2024-05-01 12:00:00,POWER,n/a,inf,12.5,nan, 90 \n",
       3,
       {"4 readings are not finite numbers, first in line 2"}},
  };
  const TempFolder folder;
  for (const auto& [content, entries, warnings] : rows) {
    folder.Write("input", content);
    TestJob job;
    EXPECT_EQ(ReadHousekeepingLog(folder.Path() / "input", job).events.size(), entries) << content;
    ExpectParts(job.Warnings(), warnings, content);
  }
  // Of the last row's readings, those that are numbers.
  TestJob job;
  std::vector<std::pair<std::string, double>> lowest;
  for (const auto& range : ReadHousekeepingLog(folder.Path() / "input", job).readings)
    lowest.emplace_back(range.key, range.lowest.value);
  EXPECT_EQ(lowest,
            (decltype(lowest){{"controlUnitTemperature", 1}, {"batteryVoltage", 12.5}, {"batteryPercent", 90}}));
}

TEST(HousekeepingLog, KeepsWhatErrorsSay) {
  const TempFolder folder;
  folder.Write("input",
               "INFO,2024-05-01 12:00:00,CCU,1\r\nERR,2024-05-01 12:00:01,Camera 1 no trigger\r\nERR,2024-05-01 "
               "12:00:02,a  :  b\r\n");
  TestJob job;
  EXPECT_EQ(ReadHousekeepingLog(folder.Path() / "input", job).errorTexts,
            (std::vector<std::string>{"", "Camera 1 no trigger", "a  :  b"}));
}

}  // namespace
}  // namespace kv::mission
