#include "georef/Ellipsoid.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kv::mission {
namespace {

constexpr double kRadian = std::numbers::pi / 180;
constexpr double kSemiMajorAxis = 6378137.0, kFlattening = 1 / 298.257223563;  // of WGS 84
constexpr double kEccentricity2 = kFlattening * (2 - kFlattening);

/// Radius of curvature in the prime vertical.
double PrimeVertical(double sine) { return kSemiMajorAxis / std::sqrt(1 - kEccentricity2 * sine * sine); }

/// The axes of a place: rows of the rotation from ECEF.
struct Axes {
  explicit Axes(const Ecef& point) {
    const Geodetic place = ToGeodetic(point);
    const double latitude = place.latitude * kRadian, longitude = place.longitude * kRadian;
    const double s = std::sin(latitude), c = std::cos(latitude);
    const double sinLongitude = std::sin(longitude), cosLongitude = std::cos(longitude);
    east = {-sinLongitude, cosLongitude, 0};
    north = {-s * cosLongitude, -s * sinLongitude, c};
    up = {c * cosLongitude, c * sinLongitude, s};
  }
  Ecef east, north, up;
};

double Product(const Ecef& a, const Ecef& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

}  // namespace

Ecef ToEcef(const Geodetic& place) {
  const double latitude = place.latitude * kRadian, longitude = place.longitude * kRadian;
  const double sine = std::sin(latitude), normal = PrimeVertical(sine);
  const double fromAxis = (normal + place.height) * std::cos(latitude);
  return {fromAxis * std::cos(longitude), fromAxis * std::sin(longitude),
          (normal * (1 - kEccentricity2) + place.height) * sine};
}

Geodetic ToGeodetic(const Ecef& point) {
  constexpr int kRounds = 8;  // each takes the error to a 150th; the first is below 0.2 degrees
  const double fromAxis = std::hypot(point.x, point.y);
  double latitude = std::atan2(point.z, fromAxis * (1 - kEccentricity2));
  for (int round = 0; round < kRounds; ++round) {
    const double sine = std::sin(latitude);
    latitude = std::atan2(point.z + kEccentricity2 * PrimeVertical(sine) * sine, fromAxis);
  }
  const double sine = std::sin(latitude);
  const double surface = kSemiMajorAxis * std::sqrt(1 - kEccentricity2 * sine * sine);
  const double height = fromAxis * std::cos(latitude) + point.z * sine - surface;
  return {latitude / kRadian, std::atan2(point.y, point.x) / kRadian, height};
}

Ecef Moved(const Ecef& from, const EastNorthUp& by) {
  const Axes axes(from);
  const auto along = [&](double Ecef::*axis) {
    return by.east * axes.east.*axis + by.north * axes.north.*axis + by.up * axes.up.*axis;
  };
  return {from.x + along(&Ecef::x), from.y + along(&Ecef::y), from.z + along(&Ecef::z)};
}

EastNorthUp Between(const Ecef& from, const Ecef& to) {
  const Axes axes(from);
  const Ecef way{to.x - from.x, to.y - from.y, to.z - from.z};
  return {Product(way, axes.east), Product(way, axes.north), Product(way, axes.up)};
}

bool IsNearTheGround(const Ecef& point) {
  constexpr double kLeast = 6.34e6, kMost = 6.45e6;  // metres
  const double largest = std::max({std::abs(point.x), std::abs(point.y), std::abs(point.z)});
  if (largest < kLeast / 2) return false;  // nearly every line of degrees
  const double distance = std::hypot(point.x, point.y, point.z);
  return distance > kLeast && distance < kMost;
}

}  // namespace kv::mission
