#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "simulation/Exposures.h"
#include "simulation/FlightPath.h"
#include "simulation/MasterClock.h"
#include "simulation/MissionOptions.h"

/// truth.csv: the true time, position and fault of every exposure of a simulated mission.
/// @see docs/simulation.md
namespace kv::simulation {

/// @throws std::system_error when the file cannot be written
void WriteTruthFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                    const MasterClock& clock, std::span<const Exposure> exposures);

/// Removes the mission that a truth file describes: the files next to it and the photos that it names. Does nothing if
/// `path` is not a truth file.
void RemoveMissionOfTruthFile(const std::filesystem::path& path);

/// Returns the folder of a camera's photos, relative to the mission's; empty for a drone's.
std::string PhotoFolder(const MissionOptions& options, int camera);

inline constexpr const char* kTrajectoryName = "trajectory.nmea";
inline constexpr const char* kEventsName = "events.txt";
inline constexpr const char* kHousekeepingName = "housekeeping.log";
inline constexpr const char* kOrientationName = "orientation.txt";
inline constexpr const char* kInstrumentName = "instrument.nmea";
inline constexpr const char* kPosName = "rover.pos";
inline constexpr const char* kSbetName = "rover.sbet";
inline constexpr const char* kGpxName = "rover.gpx";
inline constexpr const char* kTimestampsName = "flight.MRK";  ///< a drone's

}  // namespace kv::simulation
