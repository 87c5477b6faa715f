#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#include "KVRecords.h"
#include "baseline/PlainShapefile.h"
#include "time/FileTimes.h"

/// The layer of trajectory points, its texts by the C library's calendar and printf.
namespace baseline {

inline std::string TimeText(const FILETIME& time) {
  const std::uint64_t ticks = kv::Ticks(time);
  if (ticks >> 63) return "0-00-00 00:00:00.000";  // no calendar time
  using namespace std::chrono;                     // the C library of Windows knows no time beyond the year 3000
  const sys_seconds instant(seconds(static_cast<std::int64_t>(ticks / 10'000'000) - 11'644'473'600));
  const year_month_day date(floor<days>(instant));
  const hh_mm_ss clock(instant - floor<days>(instant));
  char text[64];
  std::snprintf(text, sizeof text, "%d-%02u-%02u %02d:%02d:%02d.%03d", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()), static_cast<int>(ticks / 10'000 % 1000));
  return text;
}

inline std::string TickText(const FILETIME& time) { return std::to_string(kv::Ticks(time)); }

inline std::array<double, 4> Vertex(const tagKVTrajectoryObs& fix, const tagKVTrajectoryObs& first) {
  const std::uint64_t a = kv::Ticks(fix.TimeUTC), b = kv::Ticks(first.TimeUTC);
  return {fix.Longitude, fix.Latitude, fix.Altitude, static_cast<double>(a > b ? a - b : b - a) / 1e7};
}

/// @param unit  of the altitude, in bytes of the table
inline PlainRecord TrajectoryPoint(const tagKVTrajectoryObs& fix, int number, const tagKVTrajectoryObs& first,
                                   const std::string& unit) {
  return {{Vertex(fix, first)},
          {{"Index", 10, 0, number},
           {"TimeUTC", 50, 0, TimeText(fix.TimeUTC)},
           {"Latitude", 14, 8, fix.Latitude},
           {"Longitude", 14, 8, fix.Longitude},
           {"Altitude", 14, 4, fix.Altitude},
           {"AltUnit", 10, 0, unit},
           {"GeoidOffst", 14, 8, fix.GeoidOffst},
           {"TimeTick", 25, 0, TickText(fix.TimeUTC)},
           {"TrajStart", 50, 0, TimeText(first.TimeUTC)},
           {"TrajTick", 25, 0, TickText(first.TimeUTC)},
           {"AdjGpsSec", 16, 6, fix.AdjGpsSec}}};
}

}  // namespace baseline
