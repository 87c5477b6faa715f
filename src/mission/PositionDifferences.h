#pragma once

#include <KVRecords.h>

#include <cstddef>
#include <optional>
#include <vector>

#include "mission/Settings.h"

namespace kv::mission {

/// How far two sets of places of the same exposures are apart.
struct PositionDifferences {
  struct Distances {
    double median, largest;  ///< metres
  };
  PositionSource used = PositionSource::Timestamps;  ///< what the photo layer has
  std::size_t compared = 0;
  std::size_t outside = 0;  ///< without a place in the second set
  std::optional<Distances> horizontal, vertical;
};

/// @param places  of the same events in the same order
PositionDifferences Compare(const std::vector<tagKVSystemEvent>& events, const std::vector<tagKVSystemEvent>& places);

}  // namespace kv::mission
