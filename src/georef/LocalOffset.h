#pragma once

#include <KVMission.h>

#include <numbers>

#include "georef/Interpolation.h"

namespace kv::mission {

inline constexpr double kRadian = std::numbers::pi / 180;

/// Metres per radian on the ellipsoid of WGS 84: northward along the meridian, eastward along the parallel.
struct Radii {
  double meridian, parallel;
};
Radii RadiiAt(double latitude);

/// Moves a place by a vector in its own horizontal plane, on the ellipsoid of WGS 84. Good to a micrometre for vectors
/// of some metres, except at the poles, where east has no meaning.
/// @param offset  metres
Location Moved(const Location& place, const KVMission::AntennaOffset& offset);

}  // namespace kv::mission
