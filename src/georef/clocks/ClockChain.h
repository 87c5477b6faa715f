#pragma once

#include <limits>
#include <span>
#include <vector>

#include "georef/clocks/Assignment.h"

namespace kv::clocks {

/// A clock that photos of one run may have.
struct RunClock {
  Clock clock;
  Index run;
};

/// No clock: of a photo without event.
constexpr Index kNoClock = std::numeric_limits<Index>::max();

/// Nats that a change of the clock costs: within a run, and where the stamps jump back anyway.
struct ChangeCosts {
  double inRun, betweenRuns;
};
constexpr ChangeCosts kChangeCosts{18, 8};

/// An assignment under several clocks.
struct Division {
  double score;
  std::vector<Index> eventOf;  // per photo
  std::vector<Index> clockOf;  // per photo the index of its clock, or kNoClock
};

/// The best assignment, one to one and in order of time, in which each photo has one of the clocks of its run.
/// @param runOf   per photo its run; runs ascend, and stamps ascend within a run
/// @param clocks  ordered by run
Division Divide(const Sequences& sequences, std::span<const Index> runOf, std::span<const RunClock> clocks,
                ChangeCosts changeCosts);

}  // namespace kv::clocks
