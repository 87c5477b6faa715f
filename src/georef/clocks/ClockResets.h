#pragma once

#include <optional>
#include <vector>

#include "georef/clocks/ClockChain.h"
#include "georef/clocks/ClockDecision.h"
#include "georef/clocks/ClockSearch.h"

namespace kv::clocks {

/// Photos [first, end) under one clock.
struct Stretch {
  Index first, end;
};

/// Whether the clock was set within a run of ascending stamps, and where.
struct RunDivision {
  std::vector<Stretch> stretches;      // empty when one clock explains the run best
  std::vector<Clock> proposals;        // every clock that was considered
  std::optional<ChangeDoubts> doubts;  // what changes that are about as likely say against the single clock
};

/// @param search      of the run
/// @param hypotheses  of the run, the best first, not empty
RunDivision DivideRun(ClockSearch& search, const std::vector<Hypothesis>& hypotheses, std::optional<Window> window);

/// Consecutive photos of one clock.
std::vector<Stretch> StretchesOf(const Division& division);

}  // namespace kv::clocks
