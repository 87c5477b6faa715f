#pragma once

#include <KVRecords.h>

#include <optional>
#include <vector>

#include "base/Log.h"

namespace kv::mission {

struct StationSummary {
  double tolerance = 0;  ///< seconds
  std::size_t paired = 0, single = 0;
  std::size_t sameCamera = 0;     ///< among those paired
  std::optional<double> largest;  ///< difference of time inside a pair, in seconds
  std::optional<double> median;
};

/// Combines the exposures of both cameras into stations, and warns of pairs that are none.
/// @param events  camera events that have a place
/// @throws Failure with the library's sentence
std::vector<tagKVExposureStation> FormStations(const std::vector<tagKVSystemEvent>& events, double tolerance,
                                               StationSummary& summary, Log& log);

}  // namespace kv::mission
