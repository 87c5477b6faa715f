#include "time/TimeConverter.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>

#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/LeapSeconds.h"

namespace {

using namespace std::chrono;

constexpr sys_days kGpsEpoch = year{1980} / January / 6;
constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kSecondsPerWeek = 7 * kSecondsPerDay;
constexpr std::int64_t kAdjustment = 1'000'000'000;
constexpr std::int64_t kFileTimeEpochSeconds =
    (sys_days{year{1601} / January / 1} - kGpsEpoch).count() * kSecondsPerDay;
constexpr double kTickResolved = 536'870'912.0;  // 2^29: below it neighbouring ticks are different doubles
constexpr double kBeyondFileTime = 1e12;         // more seconds than 64 bits of ticks hold

constexpr std::int64_t FloorDiv(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

// Seconds since the GPS epoch at which each leap second has passed, as UTC counts them (86,400 a day).
constexpr auto kLeapSeconds = [] {
  std::array<std::int64_t, kv::kLeapSecondDays.size()> seconds{};
  std::transform(kv::kLeapSecondDays.begin(), kv::kLeapSecondDays.end(), seconds.begin(),
                 [](sys_days day) { return (day - kGpsEpoch).count() * kSecondsPerDay; });
  return seconds;
}();

std::int64_t GpsFromUtc(std::int64_t utc) {
  if (utc >= kLeapSeconds.back()) return utc + std::int64_t{kLeapSeconds.size()};
  return utc + (std::upper_bound(kLeapSeconds.begin(), kLeapSeconds.end(), utc) - kLeapSeconds.begin());
}

struct Utc {
  std::int64_t seconds;  // since the GPS epoch, 86,400 a day; during a leap second those of the following second
  bool isLeapSecond;
};

Utc UtcFromGps(std::int64_t gps) {
  std::int64_t passed = 0;
  for (const std::int64_t leap : kLeapSeconds) {
    if (gps < leap + passed) break;
    if (gps == leap + passed) return {leap, true};
    ++passed;
  }
  return {gps - passed, false};
}

struct Instant {
  std::int64_t gpsSeconds;  // since the GPS epoch
  std::int64_t ticks;       // 0 to 10,000,000; a full second if the fraction rounds up to it
};

std::optional<Instant> Split(double adjGpsSeconds) {
  if (!(std::abs(adjGpsSeconds) < kBeyondFileTime)) return std::nullopt;
  const double whole = std::floor(adjGpsSeconds);
  const double fraction = adjGpsSeconds - whole;
  const std::int64_t ticks =
      std::abs(adjGpsSeconds) < kTickResolved ? std::llround(fraction * 1e7) : std::llround(fraction * 1e6) * 10;
  return Instant{static_cast<std::int64_t>(whole) + kAdjustment, ticks};
}

// The number of exactly `count` digits at `begin`.
std::optional<int> Digits(std::string_view text, std::size_t begin, std::size_t count) {
  return text.size() < begin + count ? std::nullopt : kv::Digits(text.substr(begin, count));
}

void PutDigits(int number, std::string& text, std::size_t begin, std::size_t count) {
  for (std::size_t at = begin + count; at > begin; number /= 10) text[--at] = static_cast<char>('0' + number % 10);
}

}  // namespace

void TimeConverter::WindowsFiletimeToAdjGPSSecs(std::int64_t fileTime, double& adjGpsSeconds) {
  const std::int64_t seconds = FloorDiv(fileTime, kv::kTicksPerSecond);
  const std::int64_t remainder = fileTime % kv::kTicksPerSecond;
  const std::int64_t ticks = remainder < 0 ? remainder + kv::kTicksPerSecond : remainder;
  const std::int64_t gps = GpsFromUtc(seconds + kFileTimeEpochSeconds);
  adjGpsSeconds = static_cast<double>(gps - kAdjustment) + static_cast<double>(ticks) / 1e7;
}

void TimeConverter::AdjGPSSecsToWindowsFiletime(double adjGpsSeconds, std::int64_t& fileTime) {
  fileTime = std::numeric_limits<std::int64_t>::min();
  const auto instant = Split(adjGpsSeconds);
  if (!instant) return;
  const std::int64_t carry = instant->ticks / kv::kTicksPerSecond;
  const std::int64_t seconds = UtcFromGps(instant->gpsSeconds + carry).seconds - kFileTimeEpochSeconds;
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max() / kv::kTicksPerSecond;
  if (seconds >= -kLargest && seconds < kLargest) {
    fileTime = seconds * kv::kTicksPerSecond + instant->ticks % kv::kTicksPerSecond;
  }
}

void TimeConverter::GPSWkSecsToAdjGPSSecs(std::int32_t week, double secondsOfWeek, double& adjGpsSeconds) {
  adjGpsSeconds = static_cast<double>(week * kSecondsPerWeek - kAdjustment) + secondsOfWeek;
}

SYSTEMTIME kv::UtcSecond(double adjGpsSeconds) {
  const auto instant = Split(adjGpsSeconds);
  if (!instant) return {};
  const auto [utcSeconds, isLeapSecond] = UtcFromGps(instant->gpsSeconds);
  const std::int64_t shown = utcSeconds - (isLeapSecond ? 1 : 0);
  const std::int64_t day = FloorDiv(shown, kSecondsPerDay);
  // Any day of years 1-9999 lies within this; chrono's own years end at 32767.
  if (day < -1'000'000 || day > 4'000'000) return {};
  const year_month_day date{kGpsEpoch + days{day}};
  const int calendarYear = static_cast<int>(date.year());
  if (calendarYear < 1 || calendarYear > 9999) return {};
  const std::int64_t second = shown - day * kSecondsPerDay;
  const auto field = [](auto value) { return static_cast<std::uint16_t>(value); };
  return {field(calendarYear),
          field(static_cast<unsigned>(date.month())),
          0,
          field(static_cast<unsigned>(date.day())),
          field(second / 3600),
          field(second / 60 % 60),
          field(second % 60 + (isLeapSecond ? 1 : 0)),
          0};
}

void TimeConverter::AdjGPSSecsToUTC(double adjGpsSeconds, bool withFraction, std::string& utc) {
  utc.clear();
  const SYSTEMTIME time = kv::UtcSecond(adjGpsSeconds);
  if (time.wYear == 0) return;
  utc = "YYYY-MM-DD hh:mm:ss";
  PutDigits(time.wYear, utc, 0, 4);
  PutDigits(time.wMonth, utc, 5, 2);
  PutDigits(time.wDay, utc, 8, 2);
  PutDigits(time.wHour, utc, 11, 2);
  PutDigits(time.wMinute, utc, 14, 2);
  PutDigits(time.wSecond, utc, 17, 2);
  if (!withFraction) return;
  utc += ".ffffff";
  PutDigits(static_cast<int>(std::min(Split(adjGpsSeconds)->ticks, kv::kTicksPerSecond - 1) / 10), utc, 20, 6);
}

void TimeConverter::UTCToGPSWeekSecs(const std::string& utc, std::int32_t& week, double& secondsOfWeek) {
  const auto calendarYear = Digits(utc, 0, 4), calendarMonth = Digits(utc, 5, 2), calendarDay = Digits(utc, 8, 2);
  const auto hour = Digits(utc, 11, 2), minute = Digits(utc, 14, 2), second = Digits(utc, 17, 2);
  if (!calendarYear || !calendarMonth || !calendarDay || !hour || !minute || !second) return;
  const year_month_day date{year{*calendarYear}, month{static_cast<unsigned>(*calendarMonth)},
                            day{static_cast<unsigned>(*calendarDay)}};
  if (!date.ok() || *hour > 23 || *minute > 59 || *second > 60) return;
  const bool hasFraction = utc.size() > 19 && utc[19] == '.';
  const auto microseconds = hasFraction ? Digits(utc, 20, 6) : 0;
  if (!microseconds) return;

  const bool isLeapSecond = *second == 60;  // counted from the second before it, which has its own leap seconds
  const std::int64_t day = (sys_days{date} - kGpsEpoch).count();
  const std::int64_t utcSeconds = day * kSecondsPerDay + (*hour * 60 + *minute) * 60 + *second - (isLeapSecond ? 1 : 0);
  const std::int64_t gps = GpsFromUtc(utcSeconds) + (isLeapSecond ? 1 : 0);
  if (isLeapSecond && GpsFromUtc(utcSeconds + 1) != gps + 1) return;  // there is no leap second at this time
  const std::int64_t gpsWeek = FloorDiv(gps, kSecondsPerWeek);
  week = static_cast<std::int32_t>(gpsWeek);
  // One division of whole microseconds, so that the result is the double nearest to the decimal text.
  secondsOfWeek = static_cast<double>((gps - gpsWeek * kSecondsPerWeek) * 1'000'000 + *microseconds) / 1e6;
}
