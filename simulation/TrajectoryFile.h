#pragma once

#include <filesystem>
#include <functional>

#include "simulation/FlightPath.h"
#include "simulation/LocalFrame.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Returns the part of the mission without sentences. It lies in the first turn, where no camera fires; it is empty if
/// the mission has no faults or no turn.
FlightPath::Span TrajectoryGap(const MissionOptions& options, const FlightPath& flight);

/// Returns the geoid separation in metres: a slightly tilted plane.
double GeoidSeparation(const GeodeticPosition& position, const MissionOptions& options);

/// Writes the receiver's NMEA sentences: GGA at every epoch, RMC and GSA every second, GSV every five seconds.
/// @param goesOn  asked at every epoch
/// @return        false if `goesOn` stopped it
/// @throws        std::system_error when the file cannot be written
bool WriteTrajectoryFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                         const std::function<bool()>& goesOn);

}  // namespace kv::simulation
