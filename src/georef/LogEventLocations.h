#pragma once

#include <vector>

#include "KVRecords.h"
#include "georef/TrajectoryIndex.h"

namespace kv {

/// Gives log events their places on a trajectory, by the rule of `PopulateLogEventLocationsUsingTrajectory`: those without
/// one borrow a neighbour's. If it throws, no event has changed.
void LocateLogEvents(std::vector<tagKVLogEvent>& events, TrajectoryIndex& index);

}  // namespace kv
