#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "simulation/Exposures.h"
#include "simulation/MissionOptions.h"
#include "simulation/PhotoFiles.h"

namespace kv::simulation {

/// Writes a mission into a folder, which is made if it does not exist: trajectory.nmea, events.txt, housekeeping.log,
/// orientation.txt, truth.csv and photos in cam1 and cam2. A drone's mission has flight.MRK, truth.csv and photos. An
/// earlier mission in the folder is replaced, including the photos that its truth.csv names.
/// @param progress  called after each photo, and with 0 photos done while the trajectory is written
/// @return          the exposures in the order of truth.csv; nothing if `progress` stopped it, which leaves an
///                  incomplete mission
/// @throws          std::system_error when a file or folder cannot be written, std::runtime_error when a photo cannot
///                  be encoded
std::optional<std::vector<Exposure>> WriteMission(const std::filesystem::path& folder, const MissionOptions& options,
                                                  const Progress& progress);

}  // namespace kv::simulation
