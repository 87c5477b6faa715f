#pragma once

#include <filesystem>

#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Writes the NMEA sentences that the receiver sends: GGA at every epoch, RMC and GSA every second, GSV every five.
/// With faults, the log has a gap of a few seconds in the first turn, where no camera fires.
/// @throws std::system_error when the file cannot be written, kv::mission::Failure after an interrupt
void WriteTrajectoryFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight);

}  // namespace kv::simulation
