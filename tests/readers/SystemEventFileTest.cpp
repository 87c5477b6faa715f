#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "KVUtilities.h"
#include "readers/EventLine.h"
#include "support/Environment.h"
#include "support/TempFolder.h"
#include "support/Times.h"

namespace {

constexpr const wchar_t* kNoScale = L"Error computing Ticks/Second from heartbeat in System Event File.";

struct Scanned {
  std::vector<tagKVSystemEvent> events;
  std::wstring error = L"left over";
};

Scanned Scan(std::string_view content) {
  const TempFolder folder;
  Scanned result;
  result.events = KVUtilities::ScanKVSystemEventFile(folder.Write("e.txt", content), result.error);
  return result;
}

TEST(SystemEventFile, LinesBecomeHeartbeatsOrCameraEventsOrNothing) {
  const TimeZone utc("UTC0");
  struct {
    const char* line;
    int type;  // 0 = rejected
    std::int32_t camera;
    double tick;
  } const rows[] = {
      {"5000,120000010124", 1, -1, 5000},
      {"-5,120000010124,ignored", 1, -1, -5},
      {"123,4", 2, 4, 123},
      {"123,10", 2, 10, 123},
      {"123,0", 2, 0, 123},
      {"+123,-1", 2, -1, 123},
      {"123,000000000007", 2, 7, 123},  // 12 characters, but no more than 10
      {"123,-4294967295", 2, 1, 123},   // the low 32 bits
      {"5000,,4", 2, 4, 5000},
      {",5000,4,", 2, 4, 5000},
      {"9223372036854775807,1", 2, 1, 9223372036854775807.0},
      {"1,+00000010124", 1, -1, 1},  // 12 characters; "+0" is hour 0
      {"123,11", 0, 0, 0},
      {"123,1200000101245", 0, 0, 0},
      {"5000,, 4", 0, 0, 0},
      {" 5000,4", 0, 0, 0},
      {"5000.0,4", 0, 0, 0},
      {"9223372036854775808,1", 0, 0, 0},
      {"5000", 0, 0, 0},
      {"", 0, 0, 0},
      {"tick,code", 0, 0, 0},
  };
  for (const auto& [line, type, camera, tick] : rows) {
    for (const char* end : {"\n", "\r\n", ""}) {
      const auto [events, error] = Scan(std::string(line) + end);
      EXPECT_EQ(error, kNoScale);
      ASSERT_EQ(events.size(), type ? 1u : 0u) << line;
      if (!type) continue;
      EXPECT_EQ(events[0].Type, type) << line;
      EXPECT_EQ(events[0].CameraID, camera) << line;
      EXPECT_EQ(events[0].MasterTick, tick) << line;
      EXPECT_EQ(kv::Ticks(events[0].TimeUTC) == 0, type == 2) << line;
      EXPECT_TRUE(events[0].POSQuality == L"NONE" && events[0].PhotoPath.IsEmpty());
    }
  }
}

TEST(SystemEventFile, HeartbeatsGoThroughTheLocalCalendar) {
  const char* const berlin = "CET-1CEST,M3.5.0,M10.5.0/3";
  struct {
    const char* zone;
    const char* heartbeat;
    SYSTEMTIME time;
  } const rows[] = {
    {"UTC0", "120000010124", Calendar(2024, 1, 1, 12)},
    {"UTC0", "235959310424", Calendar(2024, 5, 1, 23, 59, 59)},  // day 31 of April
    {"UTC0", "000000310223", Calendar(2023, 3, 3)},
#if !defined(_WIN32)  // which has rules of its own for the hour that the change skips
    {berlin, "020000310324", Calendar(2024, 3, 31, 3)},
    {berlin, "023059310324", Calendar(2024, 3, 31, 3, 30, 59)},
#endif
    {berlin, "010000310324", Calendar(2024, 3, 31, 1)},
  };
  for (const auto& [zone, heartbeat, time] : rows) {
    const TimeZone set(zone);
    const auto events = Scan(std::string("1,") + heartbeat + "\n").events;
    ASSERT_EQ(events.size(), 1u) << heartbeat;
    EXPECT_TRUE(SameInstant(events[0].SystemTimeUTC, time)) << zone << ' ' << heartbeat;
    EXPECT_EQ(kv::Ticks(events[0].TimeUTC), kv::Ticks(kv::FileTimeOrZero(time)));
    EXPECT_EQ(events[0].AdjGpsSec, kv::AdjGpsSeconds(events[0].TimeUTC));
  }
}

TEST(SystemEventFile, AHeartbeatOutOfRangeAbortsTheScan) {
  for (const char* heartbeat : {"240000010124", "126000010124", "120060010124", "120000000124", "120000320124",
                                "120000010024", "120000011324"}) {
    EXPECT_THROW(Scan(std::string("1,1\n2,") + heartbeat + "\n3,1\n"), std::out_of_range) << heartbeat;
  }
}

// For callers that want a faulty heartbeat as a value and a calendar that no machine changes.
TEST(EventLine, UtcKeepsTheHourThatAChangeOfClocksSkips) {
  const TimeZone berlin("CET-1CEST,M3.5.0,M10.5.0/3");
  kv::LocalCalendar calendar(kv::Calendar::Utc);
  struct {
    std::string_view code;
    FILETIME time;  // zero of a faulty one
  } const rows[] = {
      {"020000310324", UtcTime(2024, 3, 31, 2)},
      {"023059310424", UtcTime(2024, 5, 1, 2, 30, 59)},  // day 31 of April
      {"240000310324", {}},
  };
  for (const auto& [code, time] : rows) {
    const std::string_view tokens[] = {"5000", code};
    const auto line = kv::ReadEventLine(tokens, calendar);
    ASSERT_TRUE(line && line->heartbeat) << code;
    EXPECT_EQ(line->heartbeat->isValid, kv::Ticks(time) != 0) << code;
    EXPECT_EQ(kv::Ticks(line->heartbeat->time), kv::Ticks(time)) << code;
  }
}

TEST(SystemEventFile, CameraEventsAreTimedByTheirTicks) {
  const TimeZone utc("UTC0");
  const std::string twoHeartbeats = "10000000,120000010124\n20000000,120010010124\n";  // 1 microsecond a tick
  struct {
    std::string content;
    double secondsAfterNoon;  // of the last camera event
  } const rows[] = {
      {twoHeartbeats + "12500000,1\n", 2.5},
      {"9999000,1\n" + twoHeartbeats, 0.001},  // from before the first heartbeat, placed after it
      {"5,1\n9,120000010124\n9,120010010124\n10,1\n", -1},
      // A step of more than 1e9 ticks wraps: the span is the range minus the last tick plus the first.
      {"2000000000,120000010124\n4,120001010124\n2000000000,120005010124\n500,2\n",
       (4294967295.0 - 500 + 2e9) * 5 / 4294967295.0},
      {"4000000000,120000010124\n1,1\n5000000000,120010010124\n", (4294967295.0 - 1 + 4e9) * 10 / (4294967295.0 - 1e9)},
      // The span is the wrapped one wherever the step stands, here after the last heartbeat.
      {"2000000000,120000010124\n2000000100,120010010124\n9,2\n", (4294967295.0 - 9 + 2e9) * 10 / (4294967295.0 - 100)},
      // 1e9 exactly is no wrap.
      {"0,120000010124\n1000000000,120010010124\n300000000,2\n", 3.0},
  };
  for (const auto& [content, seconds] : rows) {
    const auto [events, error] = Scan(content);
    EXPECT_TRUE(error.empty());
    for (const tagKVSystemEvent& event : events) {
      if (event.Type != 2) continue;
      if (seconds < 0) {  // no scale between heartbeats of one tick: defined, and no calendar time
        EXPECT_GE(kv::Ticks(event.TimeUTC), std::uint64_t{1} << 63);
        EXPECT_EQ(event.SystemTimeUTC.wYear, 0);
        continue;
      }
      const double offset = KVUtilities::DeltaSecondsBetweenFileTimes(event.TimeUTC, UtcTime(2024, 1, 1, 12));
      EXPECT_NEAR(offset, seconds, 2e-7) << content;
      EXPECT_EQ(event.AdjGpsSec, kv::AdjGpsSeconds(event.TimeUTC));
    }
  }
}

TEST(SystemEventFile, WithoutTwoHeartbeatsEventsStayUntimedAndTheErrorSaysSo) {
  const auto [events, error] = Scan("1,1\n5000,120000010124\n2,2\n");
  EXPECT_EQ(error, kNoScale);
  EXPECT_EQ(events.size(), 3u);
  EXPECT_EQ(kv::Ticks(events[2].TimeUTC), 0u);
  EXPECT_EQ(events[2].AdjGpsSec, 0.0);

  const TempFolder folder;
  struct {
    std::wstring path;
    std::wstring error;
  } const rows[] = {{L"", L""},
                    {folder.Wide("missing"), L""},
                    {folder.Wide(), kNoScale},
                    {folder.Write("empty", ""), kNoScale},
                    {folder.Write("junk", "\xFF\x80,\x81\n\x1A"), kNoScale}};
  for (const auto& [path, expected] : rows) {
    std::wstring text = L"left over";
    EXPECT_TRUE(KVUtilities::ScanKVSystemEventFile(path, text).empty());
    EXPECT_EQ(text, expected);
  }
}

}  // namespace
