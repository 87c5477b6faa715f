#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "georef/Interpolation.h"

namespace kv {

/// Locates many times on one trajectory. In any order of the trajectory, the first two consecutive observations that
/// bracket a time decide, as in a scan from the start, but in logarithmic time: in that of the distance from the time
/// asked for last. One thread at a time.
///
/// The trajectory is cut into runs of ascending or equal times. Inside a run the first pair is found by binary search.
/// The first run that spans a time is computed beforehand for every interval between two ends of runs.
class TrajectoryIndex {
 public:
  /// @param trajectory  must not change while the index is used; its times may be NaN or infinite
  explicit TrajectoryIndex(std::span<const tagKVTrajectoryObs> trajectory);

  /// @return the second of the two observations, null when no two consecutive ones bracket the time
  const tagKVTrajectoryObs* PairEndAt(double adjGpsSeconds);

  /// @return the null location when no two consecutive observations bracket the time
  Location LocationAt(double adjGpsSeconds) {
    const tagKVTrajectoryObs* const to = PairEndAt(adjGpsSeconds);
    return to ? LocationBetween(to[-1], to[0], adjGpsSeconds) : Location{};
  }

 private:
  using Run = std::span<const tagKVTrajectoryObs>;  // two observations at least

  std::size_t SlotAt(double adjGpsSeconds) const;
  Run Narrowed(Run run, double adjGpsSeconds) const;

  std::vector<double> runEnds_;                 // first and last times of the runs, ascending, each once
  std::vector<Run> runOfSlot_;                  // empty where no run spans the slot's times
  const tagKVTrajectoryObs* latest_ = nullptr;  // that was found
};

}  // namespace kv
