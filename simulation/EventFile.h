#pragma once

#include <filesystem>
#include <span>

#include "simulation/Exposures.h"
#include "simulation/MasterClock.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Writes the system event file: a heartbeat "tick,hhmmssDDMMYY" at every second of UTC, its tick latched up to 3
/// microseconds early or late, and a line "tick,camera" per exposure.
/// @throws std::system_error when the file cannot be written
void WriteEventFile(const std::filesystem::path& path, const MissionOptions& options, const MasterClock& clock,
                    std::span<const Exposure> exposures);

}  // namespace kv::simulation
