#pragma once

#include <filesystem>

#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// The part of the mission without sentences, in the first turn, where no camera fires; empty when there is none.
FlightPath::Span TrajectoryGap(const MissionOptions& options, const FlightPath& flight);

/// Writes the NMEA sentences that the receiver sends: GGA at every epoch, RMC and GSA every second, GSV every five.
/// @throws std::system_error when the file cannot be written, kv::mission::Failure after an interrupt
void WriteTrajectoryFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight);

}  // namespace kv::simulation
