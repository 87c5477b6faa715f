#pragma once

#include <filesystem>
#include <vector>

#include "base/Progress.h"
#include "simulation/Exposures.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Writes a mission into a folder, made when it is not there: trajectory.nmea, events.txt, housekeeping.log,
/// orientation.txt, truth.csv and the photos in cam1 and cam2; that of a drone: flight.MRK, truth.csv and photos. An
/// earlier mission in the folder, photos that its truth.csv names included, is replaced.
/// @param progress  takes a step per photo
/// @return          the exposures as truth.csv lists them
/// @throws          std::system_error when a file or folder cannot be written, kv::mission::Failure after an interrupt
std::vector<Exposure> WriteMission(const std::filesystem::path& folder, const MissionOptions& options,
                                   mission::Progress& progress);

}  // namespace kv::simulation
