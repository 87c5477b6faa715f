#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "georef/Interpolation.h"

namespace kv {

/// Answers many times on one trajectory: the first two consecutive observations that bracket a time decide, whatever
/// the trajectory's order, just as in a scan from the start, in time logarithmic in its length.
///
/// The trajectory is cut where its times fall back into runs of ascending or equal times. Inside a run the first pair
/// is found by binary search. Which run answers, the first in order of those that span the time, is settled beforehand
/// for every stretch of time between two ends of runs.
class TrajectoryIndex {
 public:
  /// @param trajectory  must stay as it is while the index is used; its times may be NaN or infinite
  explicit TrajectoryIndex(std::span<const tagKVTrajectoryObs> trajectory);

  /// @return the null location when no two consecutive observations bracket the time
  Location LocationAt(double adjGpsSeconds) const;

 private:
  using Run = std::span<const tagKVTrajectoryObs>;  // two observations at least

  std::size_t SlotAt(double adjGpsSeconds) const;

  std::vector<double> runEnds_;  // first and last times of the runs, ascending, each once
  std::vector<Run> runOfSlot_;   // empty where no run spans the slot's times
};

}  // namespace kv
