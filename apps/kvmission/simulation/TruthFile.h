#pragma once

#include <filesystem>
#include <span>

#include "simulation/Exposures.h"
#include "simulation/FlightPath.h"
#include "simulation/MasterClock.h"
#include "simulation/MissionOptions.h"

/// truth.csv: what every exposure of a simulated mission really was.
/// @see docs/simulation.md
namespace kv::simulation {

/// @throws std::system_error when the file cannot be written
void WriteTruthFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                    const MasterClock& clock, std::span<const Exposure> exposures);

/// Removes the photos that a truth file names from the camera folders beside it. Does nothing when there is no such
/// file.
void RemovePhotosOfTruthFile(const std::filesystem::path& path);

/// The folder of a camera's photos within the mission.
std::filesystem::path CameraFolder(const std::filesystem::path& mission, int camera);

}  // namespace kv::simulation
