#pragma once

#include <KVMission.h>

#include <vector>

namespace kv::mission {

using namespace KVMission;

/// Compares two sets of places of the same exposures.
/// @param places  of the same events in the same order
PositionDifferences Compare(const std::vector<tagKVSystemEvent>& events, const std::vector<tagKVSystemEvent>& places);

}  // namespace kv::mission
