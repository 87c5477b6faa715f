#pragma once

#include <array>
#include <cmath>
#include <vector>

#include "KVRecords.h"

/// The rules of placing events word by word.
namespace baseline {

using Place = std::array<double, 3>;  // latitude, longitude, altitude
using Trajectory = std::vector<tagKVTrajectoryObs>;

inline bool IsNull(const Place& place) { return place[0] == 0.0 && place[1] == 0.0; }

/// The first pair that brackets the time decides.
inline Place PlaceAt(double t, const Trajectory& trajectory) {
  for (std::size_t i = 0; i + 1 < trajectory.size(); ++i) {
    const tagKVTrajectoryObs &a = trajectory[i], &b = trajectory[i + 1];
    if (!(a.AdjGpsSec <= t && t <= b.AdjGpsSec)) continue;
    const double lo = std::fmin(a.AdjGpsSec, b.AdjGpsSec), hi = std::fmax(a.AdjGpsSec, b.AdjGpsSec);
    const double f = (t - lo) / (hi - lo);
    return {a.Latitude + (b.Latitude - a.Latitude) * f, a.Longitude + (b.Longitude - a.Longitude) * f,
            a.Altitude + (b.Altitude - a.Altitude) * f};
  }
  return {};
}

/// A log event searches forward from itself, then backward down to event 1, until a place is not null.
inline Place LogPlaceAt(std::size_t i, const std::vector<double>& times, const Trajectory& trajectory) {
  Place place{};
  for (std::size_t j = i; j < times.size() && IsNull(place); ++j) place = PlaceAt(times[j], trajectory);
  for (std::size_t j = i; j >= 1 && IsNull(place); --j) place = PlaceAt(times[j], trajectory);
  return place;
}

}  // namespace baseline
