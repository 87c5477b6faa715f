#pragma once

#include <filesystem>

#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Write the receiver's fixes, or those of a post-processed solution, in other forms than the receiver's own.
/// @throws std::system_error when the file cannot be written
/// @see    docs/simulation.md
void WritePosFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight);
void WriteSbetFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight);
void WriteGpxFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight);

}  // namespace kv::simulation
