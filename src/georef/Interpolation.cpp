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

// The fraction of the way between two observations. On purpose computed in two ways: seconds count from the smaller
// time, ticks from the first one. On purpose unguarded: two observations of equal time give NaN, since neither place is
// better.
double Fraction(const Observation& from, const Observation& to, double time) {
  const auto [low, high] = std::minmax(from.AdjGpsSec, to.AdjGpsSec);
  return (time - low) / (high - low);
}

double Fraction(const Observation& from, const Observation& to, const FILETIME& time) {
  return SecondsBetween(time, from.TimeUTC) / SecondsBetween(to.TimeUTC, from.TimeUTC);
}

template <typename Time>
Location Interpolate(const Observation& from, const Observation& to, const Time& time) {
  const double fraction = Fraction(from, to, time);
  return {from.Latitude + (to.Latitude - from.Latitude) * fraction,
          from.Longitude + (to.Longitude - from.Longitude) * fraction,
          from.Altitude + (to.Altitude - from.Altitude) * fraction};
}

// Uses the first pair of neighbours that brackets the time, so an observation's own time belongs to the pair that ends
// there. A trajectory of fewer than two observations has no pair.
template <typename Time>
Location LocationAt(const Time& time, const std::vector<Observation>& trajectory) {
  const auto from = std::adjacent_find(trajectory.begin(), trajectory.end(),
                                       [&time](const auto& a, const auto& b) { return Brackets(a, b, time); });
  return from == trajectory.end() ? Location{} : Interpolate(*from, *std::next(from), time);
}

}  // namespace

Location LocationBetween(const Observation& from, const Observation& to, double adjGpsSeconds) {
  return Interpolate(from, to, adjGpsSeconds);
}

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
