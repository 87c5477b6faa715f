#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>

namespace kv {

/// The days that follow a leap second, since GPS time began; at each, GPS time gains one second on UTC. Source: IERS
/// Bulletin C, as in the leap-seconds.list of the IANA time zone database.
inline constexpr auto kLeapSecondDays = [] {
  using namespace std::chrono;
  return std::to_array<sys_days>({
      year{1981} / July / 1,
      year{1982} / July / 1,
      year{1983} / July / 1,
      year{1985} / July / 1,
      year{1988} / January / 1,
      year{1990} / January / 1,
      year{1991} / January / 1,
      year{1992} / July / 1,
      year{1993} / July / 1,
      year{1994} / July / 1,
      year{1996} / January / 1,
      year{1997} / July / 1,
      year{1999} / January / 1,
      year{2006} / January / 1,
      year{2009} / January / 1,
      year{2012} / July / 1,
      year{2015} / July / 1,
      year{2017} / January / 1,
  });
}();

/// Seconds by which GPS time is ahead of UTC.
inline std::int64_t LeapSecondsAt(std::chrono::system_clock::time_point time) {
  return std::count_if(kLeapSecondDays.begin(), kLeapSecondDays.end(), [&](auto day) { return day <= time; });
}

}  // namespace kv
