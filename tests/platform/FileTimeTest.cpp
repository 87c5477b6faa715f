#include "platform/FileTime.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "platform/LocalCalendar.h"
#include "support/Environment.h"
#include "support/Times.h"

namespace {

// Expected values measured on the Windows calls of the same meaning.
TEST(FileTime, CalendarTimesAreCheckedAndRefusedOnesLeaveTheOutputAlone) {
  constexpr std::uint64_t kRefused = 0xAAAAAAAAAAAAAAAA;
  struct {
    SYSTEMTIME time;
    std::uint64_t ticks;
  } const rows[] = {
      {Calendar(1601, 1, 1), 0},
      {Calendar(1970, 1, 1), 116444736000000000},
      {{2023, 12, 99, 22, 10, 15, 30, 450}, 133477137304500000},  // the day of week is not looked at
      {Calendar(2024, 2, 29), 133536384000000000},
      {Calendar(2000, 2, 29), 125962560000000000},
      {Calendar(30827, 12, 31, 23, 59, 59, 999), 9223149887999990000},
      {Calendar(30828, 1, 1), kRefused},
      {Calendar(1600, 12, 31), kRefused},
      {Calendar(0, 0, 0), kRefused},
      {Calendar(2023, 2, 29), kRefused},
      {Calendar(1900, 2, 29), kRefused},
      {Calendar(2024, 4, 31), kRefused},
      {Calendar(2024, 0, 1), kRefused},
      {Calendar(2024, 13, 1), kRefused},
      {Calendar(2024, 257, 1), kRefused},  // 1 in the low byte
      {Calendar(2024, 1, 257), kRefused},
      {Calendar(2024, 1, 0), kRefused},
      {Calendar(2024, 1, 1, 24), kRefused},
      {Calendar(2024, 1, 1, 0, 60), kRefused},
      {Calendar(2024, 1, 1, 0, 0, 60), kRefused},
      {Calendar(2024, 1, 1, 0, 0, 0, 1000), kRefused},
  };
  for (const auto& [time, ticks] : rows) {
    FILETIME result = kv::FileTimeFromTicks(kRefused);
    EXPECT_EQ(kv::ToFileTime(time, result), ticks != kRefused);
    EXPECT_EQ(kv::Ticks(result), ticks) << time.wYear << '-' << time.wMonth << '-' << time.wDay;
  }
}

TEST(FileTime, CalendarFormTruncatesToMillisecondsAndKnowsTheDayOfWeek) {
  struct {
    std::uint64_t ticks;
    bool accepted;
    SYSTEMTIME time;
  } const rows[] = {
      {9999, true, {1601, 1, 1, 1, 0, 0, 0, 0}},
      {863999999999, true, {1601, 1, 1, 1, 23, 59, 59, 999}},
      {864000000000, true, {1601, 1, 2, 2, 0, 0, 0, 0}},
      {133476345304567891, true, {2023, 12, 4, 21, 12, 15, 30, 456}},
      {9223372036854775807, true, {30828, 9, 4, 14, 2, 48, 5, 477}},
      {9223372036854775808u, false, {7, 7, 7, 7, 7, 7, 7, 7}},
      {18446744073709551615u, false, {7, 7, 7, 7, 7, 7, 7, 7}},
  };
  for (const auto& [ticks, accepted, time] : rows) {
    SYSTEMTIME result{7, 7, 7, 7, 7, 7, 7, 7};
    EXPECT_EQ(kv::ToSystemTime(kv::FileTimeFromTicks(ticks), result), accepted);
    EXPECT_TRUE(SameInstant(result, time)) << ticks;
    EXPECT_EQ(result.wDayOfWeek, time.wDayOfWeek) << ticks;
  }
}

// UTC has no hour that a change of clocks skips. The local calendar shows what the rest has to be: its own time zone set
// to UTC, the C library's arithmetic is the witness.
TEST(LocalCalendar, UtcStandsStillWhateverTheTimeZone) {
  const SYSTEMTIME times[] = {
    Calendar(2024, 3, 31, 2, 30),
    Calendar(2024, 4, 31, 23, 59, 59),
    Calendar(2023, 2, 31),
    Calendar(2024, 2, 30, 12),
    Calendar(2099, 11, 31, 5, 6, 7),
    Calendar(1970, 1, 1),
    Calendar(2016, 12, 31, 23, 59, 60),
    Calendar(2024, 1, 1, 12, 0, 0, 999),
#if !defined(_WIN32)  // which knows the years 1970 to 3000 alone
    Calendar(1969, 6, 15, 1, 2, 3),
    Calendar(9999, 12, 31, 23, 59, 59),
    Calendar(0, 0, 0),
    Calendar(1601, 1, 1),
#endif
  };
  for (const SYSTEMTIME& time : times) {
    SYSTEMTIME expected = time, actual = time;
    {
      const TimeZone utc("UTC0");
      ASSERT_TRUE(kv::NormaliseInLocalCalendar(expected));
    }
    const TimeZone berlin("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_TRUE(kv::LocalCalendar(kv::Calendar::Utc).Normalise(actual));
    EXPECT_TRUE(SameInstant(actual, expected)) << time.wYear << '-' << time.wMonth << '-' << time.wDay;
    EXPECT_EQ(actual.wDayOfWeek, expected.wDayOfWeek);
  }
}

}  // namespace
