#pragma once

#include <vector>

#include "georef/clocks/Sequences.h"

namespace kv::clocks {

/// Offsets that many pairs of events and photos agree on, the best first. Needs no idea of the clock.
/// @param most  how many peaks are kept of each slice and of all
std::vector<double> CandidateOffsets(const Sequences& sequences, std::size_t most);

/// The middles, as shares of the photos, of the slices on which a long mission is judged.
constexpr double kSliceMiddles[] = {0.15, 0.5, 0.85};
/// Seconds in which the largest drift moves a clock by half a second: what is longer is cut into slices.
constexpr double kSliceSeconds = 0.5 / kMaxDrift;

}  // namespace kv::clocks
