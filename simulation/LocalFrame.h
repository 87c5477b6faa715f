#pragma once

#include <cmath>
#include <numbers>

#include "simulation/FlightPath.h"

namespace kv::simulation {

struct GeodeticPosition {
  double latitude, longitude;  // degrees; the longitude in [-180, 180)
  double height;               // metres above the ellipsoid
};

/// Converts local metres to WGS 84 degrees by the ellipsoid's radii of curvature at the start of the mission. The radii
/// stay fixed, so a straight line in metres is a straight line in degrees.
class LocalFrame {
 public:
  LocalFrame(double latitude, double longitude) : latitude_(latitude), longitude_(longitude) {
    constexpr double kSemiMajorAxis = 6378137.0, kEccentricitySquared = 0.00669437999014;
    constexpr double kDegree = std::numbers::pi / 180.0;
    const double sinLatitude = std::sin(latitude * kDegree);
    const double w = std::sqrt(1.0 - kEccentricitySquared * sinLatitude * sinLatitude);
    const double meridian = kSemiMajorAxis * (1.0 - kEccentricitySquared) / (w * w * w);
    metresPerLatitude_ = (meridian + kStartHeight) * kDegree;
    metresPerLongitude_ = (kSemiMajorAxis / w + kStartHeight) * std::cos(latitude * kDegree) * kDegree;
  }

  GeodeticPosition ToGeodetic(const LocalPosition& position) const {
    double longitude = longitude_ + position.east / metresPerLongitude_;
    if (longitude >= 180.0) longitude -= 360.0;
    if (longitude < -180.0) longitude += 360.0;
    return {latitude_ + position.north / metresPerLatitude_, longitude, kStartHeight + position.up};
  }

 private:
  static constexpr double kStartHeight = 452.0;  // metres above the ellipsoid

  double latitude_, longitude_;  // degrees
  double metresPerLatitude_, metresPerLongitude_;
};

}  // namespace kv::simulation
