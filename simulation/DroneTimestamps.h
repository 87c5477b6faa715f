#pragma once

#include <filesystem>
#include <span>

#include "simulation/Exposures.h"
#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Writes a drone's timestamp file: a line for each exposure whose timestamp is not missing. Each position is within
/// the mission's noise of the truth.
/// @throws std::system_error when the file cannot be written
void WriteDroneTimestamps(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                          std::span<const Exposure> exposures);

}  // namespace kv::simulation
