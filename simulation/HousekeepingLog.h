#pragma once

#include <filesystem>
#include <span>

#include "simulation/Exposures.h"
#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Writes the control unit's housekeeping log, which begins when the unit is switched on, before the mission starts.
/// Lines are "severity,YYYY-MM-DD hh:mm:ss,device,content"; newer firmware puts the entry's number before the device.
/// With faults, some entries are errors.
/// @throws std::system_error when the file cannot be written
/// @see    docs/simulation.md
void WriteHousekeepingLog(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                          std::span<const Exposure> exposures);

}  // namespace kv::simulation
