#include "georef/Interpolation.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "KVUtilities.h"
#include "time/FileTimes.h"

namespace kv {
namespace {

using Observation = tagKVTrajectoryObs;

bool Brackets(const Observation& from, const Observation& to, double time) {
  return from.AdjGpsSec <= time && time <= to.AdjGpsSec;
}

bool Brackets(const Observation& from, const Observation& to, const FILETIME& time) {
  return Ticks(from.TimeUTC) <= Ticks(time) && Ticks(to.TimeUTC) >= Ticks(time);
}

// Uses the first pair of neighbours that brackets the time, so an observation's own time belongs to the pair that ends
// there. A trajectory of fewer than two observations has no pair.
template <typename Time>
Location LocationAt(const Time& time, const std::vector<Observation>& trajectory) {
  const auto from = std::adjacent_find(trajectory.begin(), trajectory.end(),
                                       [&time](const auto& a, const auto& b) { return Brackets(a, b, time); });
  return from == trajectory.end() ? Location{} : LocationBetween(*from, *std::next(from), time);
}

}  // namespace
}  // namespace kv

bool KVUtilities::ComputeLocationFromAdjGpsSeconds(double adjGpsSeconds, std::vector<tagKVTrajectoryObs>& trajectory,
                                                   double& latitude, double& longitude, double& altitude,
                                                   std::wstring& error) {
  error.clear();
  const auto [lat, lon, alt] = kv::LocationAt(adjGpsSeconds, trajectory);
  latitude = lat;
  longitude = lon;
  altitude = alt;
  return true;
}

bool KVUtilities::ComputeLocationFromUTCTime(FILETIME timeUTC, std::vector<tagKVTrajectoryObs> trajectory,
                                             double& latitude, double& longitude, double& altitude,
                                             std::wstring& error) {
  error.clear();
  const auto [lat, lon, alt] = kv::LocationAt(timeUTC, trajectory);
  latitude = lat;
  longitude = lon;
  altitude = alt;
  return true;
}
