#pragma once

#include <vector>

#include "mission/Settings.h"
#include "mission/Summary.h"
#include "mission/inputs/EventFile.h"
#include "mission/inputs/HousekeepingLog.h"

namespace kv::mission {

/// The null location, both angles exactly 0, means that there is no place.
inline bool IsPlaced(const tagKVSystemEvent& event) { return event.Latitude != 0.0 || event.Longitude != 0.0; }

/// Gives every event with a time its place on the trajectory; a camera event inside a gap, or between two fixes across
/// the 180th meridian, gets none. @throws Failure with the library's sentence
void PlaceEvents(std::vector<tagKVSystemEvent>& events, Trajectory& trajectory, Log& log);

/// Gives every entry of the log its place; one without a place of its own has that of a neighbour. Removes those that
/// stay without.
/// @return how many were removed
/// @throws Failure with the library's sentence
std::size_t PlaceLogEntries(HousekeepingLog& housekeeping, Trajectory& trajectory, Log& log);

/// Removes what is no exposure at a place: heartbeats and camera events without a place. The ticks of the rest become
/// those of the file again.
/// @return a line for each camera event that cannot be a record of the photo layer: one removed or, when the mission
///         has photo folders, one without a photo
std::vector<Drop> DropUnusable(EventLog& log, const Trajectory& trajectory, const Settings& inputs);

/// Removes camera events without a photo, when the mission has photo folders.
void DropWithoutPhoto(std::vector<tagKVSystemEvent>& events, const Settings& inputs);

}  // namespace kv::mission
