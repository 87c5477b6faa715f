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

/// Removes the mission that a truth file tells of: the files beside it and the photos that it names. Does nothing when
/// there is no such file.
void RemoveMissionOfTruthFile(const std::filesystem::path& path);

/// The folder of a camera's photos within the mission.
std::filesystem::path CameraFolder(const std::filesystem::path& mission, int camera);

inline constexpr const char* kTrajectoryName = "trajectory.nmea";
inline constexpr const char* kEventsName = "events.txt";
inline constexpr const char* kHousekeepingName = "housekeeping.log";
inline constexpr const char* kOrientationName = "orientation.txt";
inline constexpr const char* kTimestampsName = "flight.MRK";  ///< beside the photos

}  // namespace kv::simulation
