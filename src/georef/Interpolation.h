#pragma once

#include "KVRecords.h"

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

/// Interpolates linearly in `AdjGpsSec` between two observations that bracket the time; NaN if their times are equal.
Location LocationBetween(const tagKVTrajectoryObs& from, const tagKVTrajectoryObs& to, double adjGpsSeconds);

}  // namespace kv
