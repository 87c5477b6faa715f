#pragma once

#include <vector>

#include "field/EventLog.h"
#include "run/Settings.h"
#include "run/Summary.h"

namespace kv::mission {

/// The null location, both angles exactly 0, means that there is no place.
inline bool IsPlaced(const tagKVSystemEvent& event) { return event.Latitude != 0.0 || event.Longitude != 0.0; }

/// Gives every event with a time its place on the trajectory; a camera event inside a gap, or between two fixes across
/// the 180th meridian, gets none. @throws Failure with the library's sentence
void PlaceEvents(std::vector<tagKVSystemEvent>& events, Trajectory& trajectory, Log& log);

/// Removes what cannot be a record of the photo layer: heartbeats, camera events without a place and, when the mission
/// has photo folders, those without a photo. The ticks of the rest become those of the file again.
/// @return a line for each camera event removed
std::vector<Drop> DropUnusable(EventLog& log, const Trajectory& trajectory, const Settings& inputs);

}  // namespace kv::mission
