#include "georef/LocalOffset.h"

#include <cmath>

namespace kv::mission {

Radii RadiiAt(double latitude) {
  constexpr double kSemiMajorAxis = 6'378'137.0, kFlattening = 1 / 298.257223563;
  constexpr double kEccentricitySquared = kFlattening * (2 - kFlattening);
  const double sine = std::sin(latitude * kRadian);
  const double w = std::sqrt(1 - kEccentricitySquared * sine * sine);
  return {kSemiMajorAxis * (1 - kEccentricitySquared) / (w * w * w), kSemiMajorAxis / w * std::cos(latitude * kRadian)};
}

Location Moved(const Location& place, const KVMission::AntennaOffset& offset) {
  constexpr double kLeastParallel = 1;  // metres per radian
  const Radii radii = RadiiAt(place.latitude);
  const double meridian = radii.meridian + place.altitude;
  const double parallel = radii.parallel + place.altitude * std::cos(place.latitude * kRadian);
  return {place.latitude + offset.north / meridian / kRadian,
          parallel > kLeastParallel ? place.longitude + offset.east / parallel / kRadian : place.longitude,
          place.altitude - offset.down};
}

}  // namespace kv::mission
