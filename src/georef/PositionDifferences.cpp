#include "georef/PositionDifferences.h"

#include <cmath>

#include "base/Statistics.h"
#include "georef/EventTypes.h"
#include "georef/LocalOffset.h"

namespace kv::mission {
namespace {

/// Metres along the WGS 84 ellipsoid; its radii of curvature serve for places some kilometres apart.
double HorizontalMetres(const tagKVSystemEvent& a, const tagKVSystemEvent& b) {
  const Radii radii = RadiiAt(a.Latitude);
  const double north = radii.meridian * (b.Latitude - a.Latitude) * kRadian;
  const double turn = std::remainder(b.Longitude - a.Longitude, 360.0) * kRadian;
  return std::hypot(north, radii.parallel * turn);
}

}  // namespace

PositionDifferences Compare(const std::vector<tagKVSystemEvent>& events, const std::vector<tagKVSystemEvent>& places) {
  PositionDifferences differences;
  std::vector<double> horizontal, vertical;
  for (std::size_t i = 0; i < events.size(); ++i) {
    differences.outside += !IsPlaced(places[i]);
    if (!IsPlaced(events[i]) || !IsPlaced(places[i])) continue;
    horizontal.push_back(HorizontalMetres(events[i], places[i]));
    vertical.push_back(std::abs(places[i].Altitude - events[i].Altitude));
  }
  differences.compared = horizontal.size();
  differences.horizontalMetres = SpreadOf(std::move(horizontal));
  differences.verticalMetres = SpreadOf(std::move(vertical));
  return differences;
}

}  // namespace kv::mission
