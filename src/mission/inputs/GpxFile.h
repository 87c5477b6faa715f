#pragma once

#include <filesystem>

#include "base/Job.h"

/// GPX files as trajectories, read with care.
/// @see docs/formats/gpx.md
namespace kv::mission {

/// Reads a whole file and reports which points are left out.
/// @throws Failure when the file cannot be read; (Stopped)
GpxFile ReadGpxFile(const std::filesystem::path& path, Job& job);

/// Reads the tracks as one trajectory. Elevations with the geoid's height become ellipsoidal.
/// @throws Failure with the reason when no point can be used; when the file cannot be read; (Stopped)
Trajectory ReadGpxTrajectory(const std::filesystem::path& path, double maxGapSeconds, Job& job);

}  // namespace kv::mission
