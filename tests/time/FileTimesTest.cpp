#include "time/FileTimes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "KVUtilities.h"
#include "support/Times.h"

namespace {

// Quotients and conversions measured on the platform's own arithmetic.
TEST(FileTimes, SecondsBecomeTicks) {
  constexpr std::int64_t kUnrepresentable = std::numeric_limits<std::int64_t>::min();
  struct {
    double seconds;
    std::int64_t ticks;
  } const rows[] = {
      {0.00000005, 0},
      {0.0000001, 1},
      {-0.00000005, 0},
      {0.3, 3000000},
      {0.99999999, 9999999},
      {-1.5, -15000000},
      {273854.474686, 2738544746860},
      {52827.037999999942, 528270379999},
      {922337203685, 9223372036850000896},
      {922337203685.47754, kUnrepresentable},  // exactly 2^63, wraps
      {922337203686, -9223372036849551360},    // beyond it the unsigned value goes on
      {1844674407370, -9549824},
      {1844674407371, kUnrepresentable},
      {-922337203685, -9223372036850000896},
      {-1000000000000, kUnrepresentable},
      {1e300, kUnrepresentable},
      {std::numeric_limits<double>::infinity(), kUnrepresentable},
      {std::nan(""), kUnrepresentable},
  };
  for (const auto& [seconds, ticks] : rows) EXPECT_EQ(kv::SecondsToTicks(seconds), ticks) << seconds;
}

TEST(FileTimes, ArithmeticOfTheTwoForms) {
  const FILETIME noon = UtcTime(2024, 2, 28, 12);
  EXPECT_EQ(KVUtilities::FiletimeToInt64(KVUtilities::Int64ToFiletime(-2)), -2);
  EXPECT_EQ(kv::Ticks(KVUtilities::AddSecondsToFileTime(noon, 0.00000005)), kv::Ticks(noon));
  EXPECT_EQ(kv::Ticks(KVUtilities::AddSecondsToFileTime(noon, -1.5)), kv::Ticks(noon) - 15000000);

  const SYSTEMTIME moved = KVUtilities::AddSecondsToSystemTime({2024, 2, 77, 28, 12, 0, 0, 0}, 86400.25);
  EXPECT_TRUE(SameInstant(moved, Calendar(2024, 2, 29, 12, 0, 0, 250)));
  EXPECT_EQ(moved.wDayOfWeek, 4);  // a Thursday
  EXPECT_TRUE(SameInstant(KVUtilities::AddSecondsToSystemTime(Calendar(1601, 1, 1), -1), SYSTEMTIME{}));
  EXPECT_TRUE(
      SameInstant(KVUtilities::AddSecondsToSystemTime(Calendar(2023, 2, 29), 1), Calendar(1601, 1, 1, 0, 0, 1)));

  const FILETIME later = KVUtilities::AddSecondsToFileTime(noon, 3.25);
  EXPECT_EQ(KVUtilities::DeltaSecondsBetweenFileTimes(noon, later), 3.25);
  EXPECT_EQ(KVUtilities::DeltaSecondsBetweenFileTimes(later, noon), 3.25);
  EXPECT_EQ(KVUtilities::DeltaSecondsBetweenFileTimes(kv::FileTimeFromTicks(~0ull), {}), 18446744073709551615.0 / 1e7);
  EXPECT_EQ(KVUtilities::DeltaSecondsBetweenSystemTimes(Calendar(2024, 1, 1), Calendar(2023, 12, 31, 23, 59, 59, 999)),
            0.001);
}

TEST(FileTimes, StampsAreReadByPosition) {
  struct {
    std::wstring stamp;
    SYSTEMTIME time;
  } const rows[] = {
      {L"231222_101530", Calendar(2023, 12, 22, 10, 15, 30)},
      {L"231222?101530.jpg", Calendar(2023, 12, 22, 10, 15, 30)},
      {L"2312", Calendar(2023, 12, 0)},
      {L"", Calendar(2000, 0, 0)},
      {L"999999_99 9x9", Calendar(2099, 99, 99, 99, 9, 0)},
      {L"-1xx3", Calendar(1999, 0, 3)},
  };
  for (const auto& [stamp, time] : rows) {
    std::wstring error = L"left over";
    const SYSTEMTIME result = KVUtilities::GetSystemTimeFromYYMMDD_HHMMSS(stamp, error);
    EXPECT_TRUE(SameInstant(result, time) && result.wDayOfWeek == 0 && error.empty());
  }
  EXPECT_EQ(KVUtilities::GetSkyvaneDateTimeFromPrettyDateTime(L"2023-12-22 10:15:30"), L"231222_101530");
  EXPECT_EQ(KVUtilities::GetSkyvaneDateTimeFromPrettyDateTime(L"2023-12-2"), L"23122_");
  EXPECT_EQ(KVUtilities::GetSkyvaneDateTimeFromPrettyDateTime(L""), L"");
}

}  // namespace
