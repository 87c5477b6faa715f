#pragma once

#include <algorithm>

#include "KVRecords.h"
#include "time/FileTimes.h"

namespace kv {

/// Latitude and longitude in decimal degrees, height in metres. (0, 0, 0), the null location, means "not placed".
struct Location {
  double latitude = 0.0;
  double longitude = 0.0;
  double altitude = 0.0;
};

/// Whether a position means "not placed". The altitude is ignored.
constexpr bool IsNullLocation(double latitude, double longitude) { return latitude == 0.0 && longitude == 0.0; }
constexpr bool IsNullLocation(const Location& location) {
  return IsNullLocation(location.latitude, location.longitude);
}

template <class Event>
void SetLocation(const Location& location, Event& event) {
  event.Latitude = location.latitude, event.Longitude = location.longitude, event.Altitude = location.altitude;
}

/// The place at a fraction of the way between two observations.
inline Location LocationOnTheWay(const tagKVTrajectoryObs& from, const tagKVTrajectoryObs& to, double fraction) {
  return {from.Latitude + (to.Latitude - from.Latitude) * fraction,
          from.Longitude + (to.Longitude - from.Longitude) * fraction,
          from.Altitude + (to.Altitude - from.Altitude) * fraction};
}

/// Interpolates linearly between two observations that bracket the time. On purpose seconds count from the smaller time.
/// On purpose unguarded: two observations of equal time give NaN, since neither place is better.
inline Location LocationBetween(const tagKVTrajectoryObs& from, const tagKVTrajectoryObs& to, double adjGpsSeconds) {
  const auto [low, high] = std::minmax(from.AdjGpsSec, to.AdjGpsSec);
  return LocationOnTheWay(from, to, (adjGpsSeconds - low) / (high - low));
}
/// The same by file times; on purpose ticks count from the first observation.
inline Location LocationBetween(const tagKVTrajectoryObs& from, const tagKVTrajectoryObs& to, const FILETIME& time) {
  return LocationOnTheWay(from, to, SecondsBetween(time, from.TimeUTC) / SecondsBetween(to.TimeUTC, from.TimeUTC));
}

}  // namespace kv
