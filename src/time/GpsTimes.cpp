#include "time/GpsTimes.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "time/Instants.h"
#include "time/LeapSeconds.h"

namespace kv::mission {
namespace {

using std::chrono::days;
using std::chrono::seconds;
using std::chrono::sys_seconds;

constexpr std::chrono::sys_days kGpsEpoch = std::chrono::year{1980} / std::chrono::January / 6;
constexpr std::chrono::weeks kWeek{1};

std::int64_t LeapSecondsBy(sys_seconds utc) {
  return std::upper_bound(kLeapSecondDays.begin(), kLeapSecondDays.end(), utc) - kLeapSecondDays.begin();
}

sys_seconds UtcOf(TimeScale scale, sys_seconds time) {
  return scale == TimeScale::Jst ? time - std::chrono::hours{9} : time;
}

/// @param sinceEpoch  seconds on the GPS scale
GpsTime Split(seconds sinceEpoch, double fraction) {
  const auto week = std::chrono::floor<std::chrono::weeks>(sinceEpoch);
  return {static_cast<std::int32_t>(week.count()),
          static_cast<double>((sinceEpoch - std::chrono::duration_cast<seconds>(week)).count()) + fraction};
}

GpsTime Convert(TimeScale scale, sys_seconds time, double fraction) {
  if (scale == TimeScale::Gps) return Split(time - kGpsEpoch, fraction);
  const sys_seconds utc = UtcOf(scale, time);
  return Split(utc - kGpsEpoch + seconds{LeapSecondsBy(utc)}, fraction);
}

}  // namespace

std::optional<GpsTime> GpsTimeOf(TimeScale scale, std::int32_t week, double secondsOfWeek) {
  constexpr double kMost = 1e9;
  if (scale == TimeScale::Gps) return GpsTime{week, secondsOfWeek};
  if (!(std::abs(secondsOfWeek) < kMost)) return std::nullopt;
  const double whole = std::floor(secondsOfWeek);
  const auto sinceEpoch = std::chrono::duration_cast<seconds>(kWeek) * week + seconds{static_cast<std::int64_t>(whole)};
  return Convert(scale, kGpsEpoch + sinceEpoch, secondsOfWeek - whole);
}

std::optional<GpsTime> GpsTimeOf(TimeScale scale, const CalendarFields& fields) {
  const auto& [year, month, day, hour, minute, second] = fields;
  if (!(second >= 0 && second < 61)) return std::nullopt;
  const bool isLeap = second >= 60;
  const auto minuteBegin = FromFields(year, month, day, hour, minute, 0);
  if (!minuteBegin) return std::nullopt;
  const double whole = std::floor(isLeap ? second - 1 : second);
  const sys_seconds time = std::chrono::floor<seconds>(*minuteBegin) + seconds{static_cast<std::int64_t>(whole)};
  if (!isLeap) return Convert(scale, time, second - whole);
  const sys_seconds utc = UtcOf(scale, time);
  if (scale == TimeScale::Gps || LeapSecondsBy(utc) == LeapSecondsBy(utc + seconds{1})) return std::nullopt;
  return Convert(scale, time, second - whole);  // one whole second more than the 59th
}

}  // namespace kv::mission
