#include "georef/clocks/PhotoRuns.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "georef/clocks/Sequences.h"

namespace kv::clocks {
namespace {

constexpr double kLargestTime = 1e11;  // seconds; beyond, a double no longer holds 10 microseconds
constexpr Index kMostLost = 10'000;    // photo numbers: more are another folder's

OrderedTimes Usable(std::span<const double> seconds) {
  OrderedTimes usable;
  for (std::size_t i = 0; i < seconds.size(); ++i) {
    if (!(std::abs(seconds[i]) <= kLargestTime)) continue;
    usable.times.push_back(seconds[i]);
    usable.source.push_back(i);
  }
  return usable;
}

// Sorts part of the times, equal ones in the order they had.
void Sort(OrderedTimes& ordered, Index first, Index end) {
  std::vector<Index> order;
  for (Index i = first; i < end; ++i) order.push_back(i);
  std::ranges::stable_sort(order, {}, [&](Index i) { return ordered.times[i]; });
  const OrderedTimes before = ordered;
  for (Index i = first; i < end; ++i) {
    ordered.times[i] = before.times[order[i - first]];
    ordered.source[i] = before.source[order[i - first]];
  }
}

void CountFrom(OrderedTimes& ordered, double origin) {
  ordered.origin = origin;
  for (double& time : ordered.times) time -= origin;
}

// Where a clock was set. Files of which many stamps jump back are not in order of time at all.
std::vector<Index> RunBegins(const std::vector<double>& stamps, StampCell cell) {
  const double back = cell.width >= kCoarseCell ? 0.5 : 0.25;  // seconds; less is the order of writing
  const Index count = static_cast<Index>(stamps.size());
  std::vector<Index> begins{0};
  for (Index k = 1; k < count; ++k) {
    if (stamps[k] - stamps[k - 1] < -back) begins.push_back(k);
  }
  if (static_cast<double>(begins.size() - 1) > std::clamp(0.02 * count, 3.0, 12.0)) begins.resize(1);
  begins.push_back(count);
  return begins;
}

}  // namespace

OrderedTimes InOrder(std::span<const double> seconds) {
  OrderedTimes ordered = Usable(seconds);
  Sort(ordered, 0, static_cast<Index>(ordered.times.size()));
  if (!ordered.times.empty()) CountFrom(ordered, 0.5 * (ordered.times.front() + ordered.times.back()));
  return ordered;
}

PhotoRuns RunsOf(std::span<const double> stampSeconds, std::span<const std::int64_t> photoNumbers, StampCell cell) {
  PhotoRuns runs;
  runs.stamps = Usable(stampSeconds);
  runs.begin = RunBegins(runs.stamps.times, cell);
  for (Index run = 0; run + 1 < runs.begin.size(); ++run) {
    Sort(runs.stamps, runs.begin[run], runs.begin[run + 1]);
    runs.runOf.resize(runs.begin[run + 1], run);
  }
  if (!runs.stamps.times.empty()) CountFrom(runs.stamps, runs.stamps.times.front());
  if (photoNumbers.size() != stampSeconds.size()) return runs;
  const auto& source = runs.stamps.source;
  runs.lostBefore.resize(source.size());
  for (std::size_t k = 1; k < source.size(); ++k) {
    // In floating point, where no difference overflows.
    const double step = static_cast<double>(photoNumbers[source[k]]) - static_cast<double>(photoNumbers[source[k - 1]]);
    runs.lostBefore[k] = static_cast<Index>(std::clamp<double>(step - 1, 0, kMostLost));
  }
  return runs;
}

}  // namespace kv::clocks
