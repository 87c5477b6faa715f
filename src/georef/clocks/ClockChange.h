#pragma once

#include "georef/clocks/ClockChain.h"

namespace kv::clocks {

/// Nats: a change, or a place of it, that is worse by less is possible too.
constexpr double kAboutAsGood = 15;

/// Between which photos the clock may have changed.
struct ChangeRange {
  Index first, last;
};

/// @param near         a photo near the change
/// @param evaluations  of places, to begin with
ChangeRange WhereChanged(const Sequences& sequences, const Clock& before, const Clock& after, Index near,
                         Index evaluations);

}  // namespace kv::clocks
