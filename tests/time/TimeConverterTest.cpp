#include "time/TimeConverter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>

#include "support/Times.h"
#include "time/LeapSeconds.h"

namespace {

constexpr std::int64_t kNoFileTime = std::numeric_limits<std::int64_t>::min();

double AdjFromWeek(std::int32_t week, double seconds) {
  double adj = 0.0;
  TimeConverter::GPSWkSecsToAdjGPSSecs(week, seconds, adj);
  return adj;
}

std::int64_t FileTimeFromAdj(double adj) {
  std::int64_t fileTime = 0;
  TimeConverter::AdjGPSSecsToWindowsFiletime(adj, fileTime);
  return fileTime;
}

std::string UtcFromAdj(double adj, bool withFraction) {
  std::string utc = "left over";
  TimeConverter::AdjGPSSecsToUTC(adj, withFraction, utc);
  return utc;
}

// Week beginnings from the published GPS calendar; leap seconds from IERS Bulletin C.
TEST(TimeConverter, WeekAndSecondsAndUtcAreTheSameInstant) {
  struct {
    std::int32_t week;
    double seconds;
    const char* utc;
  } const rows[] = {
      {0, 0, "1980-01-06 00:00:00.000000"},
      {0, 604799, "1980-01-12 23:59:59.000000"},
      {1024, 0, "1999-08-21 23:59:47.000000"},  // first rollover of the 10-bit week, 13 leap seconds
      {2048, 0, "2019-04-06 23:59:42.000000"},  // the second, 18
      {77, 259199, "1981-06-30 23:59:59.000000"},
      {77, 259200, "1981-06-30 23:59:60.000000"},  // the first leap second
      {77, 259201, "1981-07-01 00:00:00.000000"},
      {1930, 16.5, "2016-12-31 23:59:59.500000"},
      {1930, 17.25, "2016-12-31 23:59:60.250000"},
      {1930, 18, "2017-01-01 00:00:00.000000"},
      {2178, 273854.474686, "2021-10-06 04:03:56.474686"},
  };
  for (const auto& [week, seconds, utc] : rows) {
    EXPECT_EQ(UtcFromAdj(AdjFromWeek(week, seconds), true), utc);
    EXPECT_EQ(UtcFromAdj(AdjFromWeek(week, seconds), false), std::string(utc, 19));
    std::int32_t weekBack = -1;
    double secondsBack = -1;
    TimeConverter::UTCToGPSWeekSecs(utc, weekBack, secondsBack);
    EXPECT_EQ(weekBack, week) << utc;
    EXPECT_EQ(secondsBack, seconds) << utc;
  }
}

TEST(TimeConverter, TextsInNeitherFormLeaveTheOutputsAlone) {
  for (const char* text : {"", "2016-12-31", "2016-13-31 00:00:00", "2016-02-30 00:00:00", "2016-12-31 24:00:00",
                           "2016-12-31 23:60:00", "2016-12-31 23:59:61", "2016-12-31 23:58:60", "2016-12-30 23:59:60",
                           "2016-12-31 23:59:5", "2016-12-3x 23:59:59", "2016-12-31 23:59:59.12345"}) {
    std::int32_t week = 7;
    double seconds = 7.5;
    TimeConverter::UTCToGPSWeekSecs(text, week, seconds);
    EXPECT_TRUE(week == 7 && seconds == 7.5) << text;
  }
  std::int32_t week = 0;
  double seconds = 0.0;
  TimeConverter::UTCToGPSWeekSecs("2016-12-31T23:59:60Z", week, seconds);
  EXPECT_TRUE(week == 1930 && seconds == 17.0);
}

TEST(TimeConverter, FileTimesComeBackExact) {
  constexpr std::int64_t kTicksPerYear = 31'556'952LL * 10'000'000;
  const auto ticksOf = [](FILETIME time) { return static_cast<std::int64_t>(kv::Ticks(time)); };
  const std::int64_t first = ticksOf(UtcTime(1994, 10, 1)), last = ticksOf(UtcTime(2028, 9, 1));
  for (std::int64_t ticks = first; ticks < last; ticks += 1'000'003'819'661) {
    ASSERT_EQ(FileTimeFromAdj(kv::AdjGpsSeconds(kv::FileTimeFromTicks(static_cast<std::uint64_t>(ticks)))), ticks);
  }
  // Beyond the years whose ticks a double tells apart, whole microseconds still come back.
  for (std::int64_t ticks = last + kTicksPerYear; ticks < last + 60 * kTicksPerYear; ticks += 100'000'003'819'660) {
    ASSERT_EQ(FileTimeFromAdj(kv::AdjGpsSeconds(kv::FileTimeFromTicks(static_cast<std::uint64_t>(ticks)))), ticks);
  }
}

TEST(TimeConverter, EdgesOfTheScale) {
  EXPECT_EQ(kv::AdjGpsSeconds(UtcTime(2011, 9, 14, 1, 46, 25)), 0.0);  // GPS second 1,000,000,000
  const double leap = AdjFromWeek(1930, 17.25);
  EXPECT_EQ(FileTimeFromAdj(leap), static_cast<std::int64_t>(kv::Ticks(UtcTime(2017, 1, 1, 0, 0, 0, 250))));
  EXPECT_EQ(FileTimeFromAdj(AdjFromWeek(2178, 273854.474686)),
            static_cast<std::int64_t>(kv::Ticks(UtcTime(2021, 10, 6, 4, 3, 56))) + 4746860);
  // A fraction that is a hair below the next second, here 15:06:22, stays in its own.
  EXPECT_EQ(UtcFromAdj(std::nextafter(318'000'000.0, 0.0), true).substr(17), "21.999999");

  for (const std::int64_t ticks : {std::int64_t{0}, std::numeric_limits<std::int64_t>::max(), kNoFileTime}) {
    EXPECT_TRUE(std::isfinite(kv::AdjGpsSeconds(kv::FileTimeFromTicks(static_cast<std::uint64_t>(ticks)))));
  }
  for (const double adj : {1e12, -1e12, 9.5e11, 1e300, std::numeric_limits<double>::infinity(), std::nan("")}) {
    EXPECT_EQ(FileTimeFromAdj(adj), kNoFileTime) << adj;
    EXPECT_EQ(UtcFromAdj(adj, false), "") << adj;
  }
  EXPECT_EQ(UtcFromAdj(AdjFromWeek(0, 0) - 31'556'952.0 * 1000, false).substr(0, 4), "0980");
}

TEST(TimeConverter, LeapSecondsAreThoseOfTheOperatingSystem) {
  std::ifstream list("/usr/share/zoneinfo/leap-seconds.list");
  if (!list) GTEST_SKIP() << "the system brings no list";
  std::vector<std::chrono::sys_days> days;
  const auto ntpEpoch = std::chrono::sys_days(std::chrono::year{1900} / 1 / 1);
  const auto gpsEpoch = std::chrono::sys_days(std::chrono::year{1980} / 1 / 6);
  for (std::string line; std::getline(list, line);) {
    std::int64_t ntpSeconds = 0;
    if (line.starts_with('#') || !(std::istringstream(line) >> ntpSeconds)) continue;
    const auto day = ntpEpoch + std::chrono::days{ntpSeconds / 86400};
    if (day > gpsEpoch) days.push_back(day);
  }
  EXPECT_TRUE(std::equal(days.begin(), days.end(), kv::kLeapSecondDays.begin(), kv::kLeapSecondDays.end()));
}

}  // namespace
