#pragma once

#include <filesystem>

#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Writes the orientation file, the orientation sensor's own log, with two readings a second over the whole mission:
/// "YYYY-MM-DD hh:mm:ss.fff,temperature,pitch,roll,heading,calibration,status,error".
/// @throws std::system_error when the file cannot be written
void WriteOrientationFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight);

}  // namespace kv::simulation
