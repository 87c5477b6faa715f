#include "georef/PositionDifferences.h"

#include <cmath>
#include <numbers>

#include "base/Statistics.h"
#include "georef/EventTypes.h"

namespace kv::mission {
namespace {

/// Metres along the WGS 84 ellipsoid; its radii of curvature serve for places some kilometres apart.
double HorizontalMetres(const tagKVSystemEvent& a, const tagKVSystemEvent& b) {
  constexpr double kSemiMajorAxis = 6378137.0, kEccentricitySquared = 0.00669437999014;
  constexpr double kDegree = std::numbers::pi / 180.0;
  const double latitude = a.Latitude * kDegree;
  const double w = std::sqrt(1.0 - kEccentricitySquared * std::sin(latitude) * std::sin(latitude));
  const double meridian = kSemiMajorAxis * (1.0 - kEccentricitySquared) / (w * w * w);
  const double north = meridian * (b.Latitude - a.Latitude) * kDegree;
  const double turn = std::remainder(b.Longitude - a.Longitude, 360.0) * kDegree;
  return std::hypot(north, kSemiMajorAxis / w * std::cos(latitude) * turn);
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
