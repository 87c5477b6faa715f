#include "georef/TrajectoryIndex.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <numeric>

namespace kv {
namespace {

using Observation = tagKVTrajectoryObs;
using Run = std::span<const Observation>;

// Longest stretches of ascending or equal times, in the trajectory's order. A NaN ends a run and does not start one.
std::vector<Run> RunsOf(Run trajectory) {
  std::vector<Run> runs;
  const auto fallsBack = [](const Observation& a, const Observation& b) { return !(a.AdjGpsSec <= b.AdjGpsSec); };
  for (auto begin = trajectory.begin(); begin != trajectory.end();) {
    auto last = std::adjacent_find(begin, trajectory.end(), fallsBack);
    const auto end = last == trajectory.end() ? last : std::next(last);
    if (end - begin > 1) runs.emplace_back(begin, end);
    begin = end;
  }
  return runs;
}

std::vector<double> EndsOf(const std::vector<Run>& runs) {
  std::vector<double> ends;
  ends.reserve(2 * runs.size());
  for (const Run& run : runs) ends.insert(ends.end(), {run.front().AdjGpsSec, run.back().AdjGpsSec});
  std::sort(ends.begin(), ends.end());
  ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
  return ends;
}

// Slots in ascending order, each taken once. Links that skip taken slots, shortened at every search, lead to the next
// free one.
class FreeSlots {
 public:
  explicit FreeSlots(std::size_t count) : next_(count + 1) { std::iota(next_.begin(), next_.end(), std::size_t{0}); }

  /// The first free slot at or after one; the number of slots when there is none.
  std::size_t From(std::size_t slot) {
    while (next_[slot] != slot) slot = next_[slot] = next_[next_[slot]];
    return slot;
  }
  void Take(std::size_t slot) { next_[slot] = slot + 1; }

 private:
  std::vector<std::size_t> next_;
};

}  // namespace

TrajectoryIndex::TrajectoryIndex(std::span<const tagKVTrajectoryObs> trajectory) {
  const std::vector<Run> runs = RunsOf(trajectory);
  runEnds_ = EndsOf(runs);
  runOfSlot_.resize(2 * runEnds_.size() + 1);
  // Each run takes the free slots it spans and leaves the rest to later runs, so overlapping runs cost little more than
  // separate ones.
  FreeSlots free(runOfSlot_.size());
  for (const Run& run : runs) {
    const std::size_t last = SlotAt(run.back().AdjGpsSec);
    for (auto slot = free.From(SlotAt(run.front().AdjGpsSec)); slot <= last; slot = free.From(slot)) {
      runOfSlot_[slot] = run;
      free.Take(slot);
    }
  }
}

// Slot 2k + 1 is the time runEnds_[k] itself; slot 2k is the open interval before it. The first slot, which also serves
// NaN, and the last lie outside all runs.
std::size_t TrajectoryIndex::SlotAt(double adjGpsSeconds) const {
  const auto end = std::lower_bound(runEnds_.begin(), runEnds_.end(), adjGpsSeconds);
  const auto endsBefore = static_cast<std::size_t>(end - runEnds_.begin());
  const bool isEnd = end != runEnds_.end() && *end == adjGpsSeconds;
  return 2 * endsBefore + (isEnd ? 1 : 0);
}

const tagKVTrajectoryObs* TrajectoryIndex::PairEndAt(double adjGpsSeconds) {
  const Run run = runOfSlot_[SlotAt(adjGpsSeconds)];
  if (run.empty()) return nullptr;
  // Uses the pair that ends at the first observation not before the time; for the run's first time, the first pair.
  const Run close = Narrowed(run.subspan(1), adjGpsSeconds);
  return latest_ = std::to_address(std::ranges::lower_bound(close, adjGpsSeconds, {}, &Observation::AdjGpsSec));
}

// Steps from the latest observation toward the time, each twice as far. What is sought is in the part left over, or
// right after it.
TrajectoryIndex::Run TrajectoryIndex::Narrowed(Run run, double adjGpsSeconds) const {
  const Observation *begin = run.data(), *end = begin + run.size();
  if (!latest_ || std::less<>()(latest_, begin) || !std::less<>()(latest_, end)) return run;
  const auto isBefore = [adjGpsSeconds](const Observation& fix) { return fix.AdjGpsSec < adjGpsSeconds; };
  std::ptrdiff_t step = 1;
  if (isBefore(*latest_)) {
    for (begin = latest_ + 1; end - begin > step && isBefore(begin[step]); step *= 2) begin += step + 1;
    return {begin, end - begin > step ? begin + step : end};
  }
  for (end = latest_; end - begin > step && !isBefore(end[-step]); step *= 2) end -= step;
  return {end - begin > step ? end - step : begin, end};
}

}  // namespace kv
