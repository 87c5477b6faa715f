#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "georef/clocks/Sequences.h"

namespace kv::clocks {

/// Times fit for pairing, ascending; times that are not finite or absurdly far are left out.
struct OrderedTimes {
  std::vector<double> times;        // seconds from `origin`
  std::vector<std::size_t> source;  // the index of each in what was given
  double origin = 0;
};

/// All times in order, counted from the middle of the first and the last.
OrderedTimes InOrder(std::span<const double> seconds);

/// Photos in runs of ascending stamps. A new run begins where stamps jump back in file order: the clock was set.
struct PhotoRuns {
  OrderedTimes stamps;            // ascending within a run, counted from the first stamp
  std::vector<Index> begin;       // per run its first photo; one more for the end
  std::vector<Index> runOf;       // per photo
  std::vector<Index> lostBefore;  // per photo, photo numbers missing before it; empty when not known
};
PhotoRuns RunsOf(std::span<const double> stampSeconds, std::span<const std::int64_t> photoNumbers, StampCell cell);

}  // namespace kv::clocks
