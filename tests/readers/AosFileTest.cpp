#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "KVUtilities.h"
#include "support/Environment.h"
#include "support/TempFolder.h"
#include "support/Times.h"
#include "time/FileTimes.h"

namespace {

using Scanner = std::vector<tagKVAosEvent> (*)(std::wstring, std::wstring&);

std::vector<tagKVAosEvent> Scan(Scanner scanner, std::string_view content, std::wstring& error) {
  const TempFolder folder;
  return scanner(folder.Write("aos.txt", content), error);
}

const std::string kReadings = ",31.5,-1.25,2,359.5,3,-1,7";

TEST(AosFile, ALineIsADateAndSevenReadings) {
  const SYSTEMTIME noon = Calendar(2023, 12, 22, 12, 35, 1);
  struct {
    std::string line;
    SYSTEMTIME time;  // year 0 for no reading
  } const rows[] = {
      {"2023-12-22 12:35:01" + kReadings, noon},
      {"\xEF\xBB\xBF"
       "2023-12-22 12:35:01" +
           kReadings,
       noon},
      {"2023-12-22 12:35:01.5" + kReadings, Calendar(2023, 12, 22, 12, 35, 1, 500)},
      {"2023-12-22 12:35:01.0479" + kReadings, Calendar(2023, 12, 22, 12, 35, 1, 47)},
      {"2023-12-22 12:35:01.5x7" + kReadings, Calendar(2023, 12, 22, 12, 35, 1, 500)},
      {"2023-13-22 12:35:01" + kReadings, Calendar(2023, 13, 22, 12, 35, 1)},
      {"INFO,2023-12-22 12:35:01" + kReadings, noon},
      {"INFO,AOS,2023-12-22 12:35:01" + kReadings + ",more\r", noon},
      {" 2023-12-22 12:35:01 , 31.5, -1.25,2,359.5,3,-1, 7 ", noon},
      {"2023-12-22T12:35:01,,31.5,,-1.25,2,359.5,3,-1,7", noon},
      {"a,b,c,2023-12-22 12:35:01" + kReadings, {}},
      {"2023-12-22 12:35:01,31.5,-1.25,2,359.5,3,-1", {}},
      {"2023-12-22 12:35:01,31.5,-1.25,2,359.5,3,-1,7.0", {}},
      {"2023-12-22 12:35:01,31.5C,-1.25,2,359.5,3,-1,7", {}},
      {"12:35:01" + kReadings, {}},
      {"ABCD-EF-GHIJ" + kReadings, {}},
      {"2023-12-22 12:35:01,AOS,calibrated", {}},
  };
  for (const auto& [line, time] : rows) {
    std::wstring error = L"left over";
    const auto events = Scan(KVUtilities::ScanKVAosFile, line + "\n", error);
    EXPECT_EQ(error, L"");
    ASSERT_EQ(events.size(), time.wYear == 0 ? 0u : 1u) << line;
    if (events.empty()) continue;
    const tagKVAosEvent& event = events[0];
    EXPECT_TRUE(SameInstant(event.SystemTimeUTC, time)) << line;
    EXPECT_EQ(event.SystemTimeUTC.wDayOfWeek, time.wMonth == 12 ? 5 : 0) << line;  // a Friday, or no date
    EXPECT_EQ(std::tie(event.BrdTemp, event.Pitch, event.Roll, event.Heading, event.CalStat, event.SysStat,
                       event.SysError, event.MasterTick),
              std::make_tuple(31.5, -1.25, 2.0, 359.5, 3, -1, 7, 0.0))
        << line;
    EXPECT_EQ(kv::Ticks(event.TimeUTC), kv::Ticks(kv::FileTimeOrZero(time))) << line;
    EXPECT_EQ(event.AdjGpsSec, kv::AdjGpsSeconds(event.TimeUTC)) << line;
  }
}

TEST(AosFile, TheVariantTimesReadingsByTheMasterClock) {
  const TimeZone utc("UTC0");
  std::wstring error = L"left over";
  // A microsecond a tick; the counter wraps before the last reading.
  const std::string first = "5000000,120000010124\n", last = "15000000,120010010124\n";
  auto events = Scan(KVUtilities::ScanKVAosFileForQX7,
                     "\xEF\xBB\xBF" + first + "7500000" + kReadings + "\n" + "x" + kReadings + "\n 7500000" +
                         kReadings + "\n7600000,1\n7600000,31\n" + last,
                     error);
  EXPECT_EQ(error, L"");
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].MasterTick, 7'500'000);
  EXPECT_EQ(std::tie(events[0].BrdTemp, events[0].SysError), std::make_tuple(31.5, 7));
  EXPECT_TRUE(SameInstant(events[0].SystemTimeUTC, Calendar(2024, 1, 1, 12, 0, 2, 500)));

  events = Scan(KVUtilities::ScanKVAosFileForQX7, first + "7500000" + kReadings, error);
  EXPECT_EQ(error, L"Error computing Ticks/Second from heartbeat in AOS File.");
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(kv::Ticks(events[0].TimeUTC), 0u);
  EXPECT_THROW(Scan(KVUtilities::ScanKVAosFileForQX7, "5,120000011324\n", error), std::out_of_range);
}

// The clock's rules are those of the system event file, held there; here both have to give the same times.
TEST(AosFile, TheVariantAgreesWithTheSystemEventFile) {
  const TimeZone utc("UTC0");
  std::string readings, triggers;
  for (const char* tick : {"4294000000", "4294500000", "100", "700000", "900000"}) {
    readings += std::string(tick) + kReadings + "\n";
    triggers += std::string(tick) + ",1\n";
  }
  const std::string first = "4293000000,120000010124\n", last = "2000000,120003010124\n";
  std::wstring error;
  const TempFolder folder;
  const auto aos = Scan(KVUtilities::ScanKVAosFileForQX7, first + readings + last, error);
  const auto system = KVUtilities::ScanKVSystemEventFile(folder.Write("e.txt", first + triggers + last), error);
  ASSERT_EQ(aos.size(), 5u);
  ASSERT_EQ(system.size(), 7u);
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(kv::Ticks(aos[i].TimeUTC), kv::Ticks(system[i + 1].TimeUTC)) << i;
}

TEST(AosFile, AMissingFileIsNoError) {
  for (const Scanner scanner : {KVUtilities::ScanKVAosFile, KVUtilities::ScanKVAosFileForQX7}) {
    std::wstring error = L"left over";
    EXPECT_TRUE(scanner(L"none.txt", error).empty());
    EXPECT_EQ(error, L"");
  }
}

}  // namespace
