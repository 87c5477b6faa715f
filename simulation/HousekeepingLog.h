#pragma once

#include <filesystem>
#include <span>

#include "simulation/Exposures.h"
#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Writes the control unit's log, from when it is switched on, before the mission starts: lines
/// "severity,YYYY-MM-DD hh:mm:ss,device,content", with the number of the entry before the device in newer firmware.
/// With faults, some of them are errors.
/// @throws std::system_error when the file cannot be written
/// @see    docs/simulation.md
void WriteHousekeepingLog(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                          std::span<const Exposure> exposures);

}  // namespace kv::simulation
