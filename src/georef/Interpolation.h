#pragma once

#include "KVRecords.h"

namespace kv {

/// Latitude and longitude in decimal degrees, height in metres. What no one has placed is at the null location.
struct Location {
  double latitude = 0.0;
  double longitude = 0.0;
  double altitude = 0.0;
};

/// Whether a position means "not placed". The altitude plays no part.
constexpr bool IsNullLocation(double latitude, double longitude) { return latitude == 0.0 && longitude == 0.0; }
constexpr bool IsNullLocation(const Location& location) {
  return IsNullLocation(location.latitude, location.longitude);
}

/// Linear in `AdjGpsSec` between two observations that bracket the time; NaN when they have the same time.
Location LocationBetween(const tagKVTrajectoryObs& from, const tagKVTrajectoryObs& to, double adjGpsSeconds);

}  // namespace kv
