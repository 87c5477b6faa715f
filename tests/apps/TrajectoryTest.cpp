#include "mission/inputs/Trajectory.h"

#include <gtest/gtest.h>

#include "mission/Placing.h"
#include "mission/inputs/EventFile.h"
#include "support/TempFolder.h"

namespace kv::mission {
namespace {

std::string Fix(const std::string& time, const std::string& longitude = "01131.000,E") {
  return "$GPGGA," + time + ",4807.038,N," + longitude + ",1,08,0.9,545.4,M,46.9,M,,\n";
}

/// What a log's peculiarity makes the command say; nothing else is said.
TEST(Trajectory, IsLookedThroughForWhatASurveyorShouldSee) {
  struct {
    std::string log;
    std::vector<std::string> warnings;
  } const rows[] = {
      {Fix("120000") + Fix("120002"), {}},
      {Fix("120000") + Fix("120002.01"),
       {"trajectory gap of 2.0 s from 2024-05-01 12:00:00.000 at 48.1173000, 11.5166667"}},
      {Fix("235959.99") + Fix("000000"), {}},
      {Fix("120001") + Fix("120000") + Fix("120001"),
       {"the time of the fixes runs back 1 time: pieces out of order, or a gap of more than 12 hours over midnight"}},
      {Fix("120000", "17959.999,E") + Fix("120001", "17959.999,W"),
       {"the track crosses the 180th meridian: its line there runs around the globe"}},
      {Fix("120000.125") + Fix("120000.250"), {"1 fix time finer than a hundredth of a second: cut to hundredths"}},
  };
  const TempFolder folder;
  const DateSources dates{ParseDate("2024-05-01"), {}, {}};
  for (const auto& [text, warnings] : rows) {
    folder.Write("log", text);
    Log log(Verbosity::Quiet);
    WarnOfTrajectory(ReadTrajectory(folder.Path() / "log", dates, folder.Path(), 2.0, log), kReceiverWords, log);
    EXPECT_EQ(log.Warnings(), warnings) << text;
  }
}

/// The day of each fix, whatever the way over midnight: in sequence, in an outage, one receiver behind the other.
TEST(Trajectory, CountsEveryMidnightOnce) {
  struct {
    std::vector<const char*> times;
    std::vector<int> days;  // of the month
  } const rows[] = {
      {{"235959.99", "000000", "120000", "235959", "000000"}, {1, 2, 2, 2, 3}},
      {{"225959", "010000", "130000", "003000"}, {1, 2, 2, 3}},
      {{"235959.90", "000000", "235959.95", "000000.10", "000000.05", "120000", "235959", "000000"},
       {1, 2, 1, 2, 2, 2, 2, 3}},
      {{"000000", "235959.90", "000000.10"}, {1, 30, 1}},
      {{"060000", "190000", "170000"}, {1, 1, 1}},
  };
  const TempFolder folder;
  for (const auto& [times, days] : rows) {
    std::string text;
    for (const char* time : times) text += Fix(time);
    folder.Write("log", text);
    Log log(Verbosity::Quiet);
    const auto trajectory =
        ReadTrajectory(folder.Path() / "log", {ParseDate("2024-05-01"), {}, {}}, folder.Path(), 2.0, log);
    std::vector<int> read;
    for (const auto& fix : trajectory.observations) read.push_back(fix.SystemTimeUTC.wDay);
    EXPECT_EQ(read, days) << text;
  }
}

TEST(Placing, NamesTheReasonForEveryDrop) {
  const TempFolder folder;
  std::string track;
  for (const char* time : {"120002", "120004"}) track += Fix(time);
  track += Fix("120006", "17959.999,E") + Fix("120008", "17959.999,W") + Fix("120014", "17959.999,W");
  folder.Write("log", track);
  // A tick is a millisecond; the counter wraps 5 s after noon.
  folder.Write("clock",
               "4294962296,120000010524\n4294962295,1\n4294963296,1\n4294965296,1\n500,2\n2000,1\n4000,1\n12000,1\n"
               "15000,120020010524\n");
  Log log(Verbosity::Quiet);
  EventLog events = ReadEvents(folder.Path() / "clock", folder.Path(), log);
  Trajectory trajectory =
      ReadTrajectory(folder.Path() / "log", {ParseDate("2024-05-01"), {}, {}}, folder.Path(), 2.0, log);
  PlaceEvents(events.events, trajectory, log);
  EXPECT_EQ(log.Warnings().back(), "2 camera events inside trajectory gaps or across the 180th meridian: dropped");
  events.events[3].PhotoPath = L"/cam1/a.jpg";
  Settings inputs;
  inputs.camera1 = "cam1";
  std::vector<std::string> drops;
  for (const Drop& drop : DropUnusable(events, trajectory, inputs))
    drops.push_back(fmt::format("{} {:.0f} {}", drop.camera, drop.tick.value(), drop.reason));
  EXPECT_EQ(drops, (std::vector<std::string>{
                       "1 4294962295 no time: the heartbeats do not reach its tick",
                       "1 4294963296 no place: before the first fix", "2 500 no photo: no folder for this camera",
                       "1 2000 no place: between two fixes across the 180th meridian",
                       "1 4000 no place: inside a gap of 6.0 s", "1 12000 no place: after the last fix"}));
  EXPECT_EQ(events.events.size(), 2u);  // exposures at a place
  DropWithoutPhoto(events.events, inputs);
  ASSERT_EQ(events.events.size(), 1u);
  EXPECT_EQ(events.events[0].MasterTick, 4294965296.0);
}

}  // namespace
}  // namespace kv::mission
