#pragma once

#include <KVMission.h>

#include <cstddef>
#include <vector>

namespace kv::mission {

using namespace KVMission;

/// The fixes that a drawing of a trajectory needs: all, or those that keep its shape. Kept are both sides of each gap and
/// of each change of quality, and of every run of fixes the first one and those with the extreme latitudes, longitudes and
/// heights.
/// @param most  fixes, about; more only for changes of quality and gaps
/// @return      their indexes, ascending
std::vector<std::size_t> FixesToDraw(const Trajectory& trajectory, const std::vector<std::size_t>& stretches,
                                     std::size_t most);

}  // namespace kv::mission
