#pragma once

#include <span>
#include <vector>

#include "KVRecords.h"

namespace kv {

/// Combines camera events into exposure stations, by the rule of `ComputeExposureStationsFromSystemEvents`.
/// @tparam Event    constant events are copied into the stations, others are moved
/// @param events    camera events, in sequence
/// @param stations  receives them
template <class Event>
void FormStations(std::span<Event* const> events, double toleranceSeconds, std::vector<tagKVExposureStation>& stations);

}  // namespace kv
