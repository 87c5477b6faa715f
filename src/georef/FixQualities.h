#pragma once

#include <KVMission.h>

#include <cmath>
#include <string_view>

#include "georef/TrajectoryIndex.h"

/// What the quality of fixes says about places between them.
namespace kv::mission {

using namespace KVMission;

/// The standard deviation along one horizontal axis.
inline float HorizontalSigma(double north, double east) {
  return static_cast<float>(std::sqrt((north * north + east * east) / 2));
}

/// "FIXED"; "NONE" for an unknown quality
const char* WordFor(PositionQuality quality);
inline constexpr std::wstring_view kLongestQualityWord = L"SIMULATED";

/// The quality of a place between two fixes: mixed when theirs differ, with the larger of the standard deviations. What
/// one of them does not say is unknown.
FixQuality QualityBetween(const FixQuality& a, const FixQuality& b);

/// @param index  of the trajectory's fixes
/// @return       unknown without a pair of fixes that brackets the time, or when the source does not say
FixQuality QualityAt(double adjGpsSeconds, TrajectoryIndex& index, const Trajectory& trajectory);

}  // namespace kv::mission
