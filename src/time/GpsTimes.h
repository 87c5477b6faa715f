#pragma once

#include <cstdint>
#include <optional>

/// Times of other scales as GPS time.
namespace kv::mission {

enum class TimeScale { Gps, Utc, Jst };  ///< JST is UTC + 9 h

struct GpsTime {
  std::int32_t week = 0;
  double secondsOfWeek = 0;
};

struct CalendarFields {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double second = 0;  ///< below 61; a 60 is a leap second
};

/// @param week  of the scale: its calendar time since 1980-01-06, in weeks of 604,800 s without leap seconds
/// @return      nothing for seconds beyond a billion, except on the GPS scale, which takes any
std::optional<GpsTime> GpsTimeOf(TimeScale scale, std::int32_t week, double secondsOfWeek);

/// @return nothing for a date or time of day that does not exist on the scale
std::optional<GpsTime> GpsTimeOf(TimeScale scale, const CalendarFields& fields);

}  // namespace kv::mission
