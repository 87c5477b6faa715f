#pragma once

#include <filesystem>
#include <functional>
#include <span>

#include "simulation/Exposures.h"
#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Takes the number of photos written and of all photos to write. @return false to stop
using Progress = std::function<bool(std::size_t done, std::size_t of)>;

/// Writes the photos: the ground below the vehicle, out of focus if the exposure is blurred. They go into the cameras'
/// folders, which must exist; a drone's go into the mission's own.
/// @param progress  called after each photo
/// @return          false if `progress` stopped it
/// @throws          std::system_error when a file cannot be written, std::runtime_error when a photo cannot be encoded
bool WritePhotos(const std::filesystem::path& mission, const MissionOptions& options, const FlightPath& flight,
                 std::span<const Exposure> exposures, const Progress& progress);

}  // namespace kv::simulation
