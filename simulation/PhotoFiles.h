#pragma once

#include <filesystem>
#include <span>

#include "base/Progress.h"
#include "simulation/Exposures.h"
#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Writes the photos of both cameras into their folders, which exist, those of a drone into the mission's: the ground
/// below the vehicle, out of focus where the exposure is blurred.
/// @param progress  takes a step per photo
/// @throws          std::system_error when a file cannot be written, kv::mission::Failure after an interrupt
void WritePhotos(const std::filesystem::path& mission, const MissionOptions& options, const FlightPath& flight,
                 std::span<const Exposure> exposures, mission::Progress& progress);

}  // namespace kv::simulation
