#pragma once

#include <vector>

#include "KVRecords.h"
#include "georef/TrajectoryIndex.h"

namespace kv {

/// Gives log events their places on a trajectory, by the rule of `PopulateLogEventLocationsUsingTrajectory`: those without
/// one borrow a neighbour's. All or none get places.
void LocateLogEvents(std::vector<tagKVLogEvent>& events, TrajectoryIndex& trajectory);

}  // namespace kv
