#include <algorithm>
#include <cmath>

#include "georef/clocks/CameraClock.h"
#include "georef/clocks/ClockDecision.h"
#include "georef/clocks/PhotoRuns.h"

namespace kv {
namespace {

using namespace clocks;

// A pair is certain at this probability.
constexpr double kCertain = 0.995;

// Offsets around one in use, a spread apart.
struct Raster {
  double spread, step;  // seconds
  int steps;            // to either side

  Raster(const Sequences& sequences, double tolerance) {
    constexpr double kCoarseSpread = 0.05, kFineSpread = 0.01, kMostSteps = 100;
    // Drift is not modelled: it blurs the clock.
    const double drifted = kDriftSigma * 0.5 * sequences.EventSpan();
    spread = std::hypot(sequences.IsCoarse() ? kCoarseSpread : kFineSpread, drifted);
    steps = static_cast<int>(std::min(kMostSteps, std::ceil(tolerance / spread)));
    step = steps > 0 ? tolerance / steps : 0;
    spread = std::max(spread, step);
  }
};

struct Weighted {
  Clock clock;
  double score;  // nats
};

// The offsets that pair about as well as the best one. The tolerance counts as three standard deviations.
std::vector<Weighted> LikelyOffsets(Assigner& assigner, const Sequences& sequences, double offset, double tolerance) {
  constexpr double kNegligible = 12;  // nats
  const Raster raster(sequences, tolerance);
  std::vector<Weighted> offsets;
  for (int i = -raster.steps; i <= raster.steps; ++i) {
    const Clock clock{offset + i * raster.step, 0, raster.spread};
    const double sigmas = raster.steps > 0 ? 3.0 * i / raster.steps : 0;
    const double score = assigner.Best(clock, sequences.Tolerance(raster.spread), kPairingCosts, nullptr);
    offsets.push_back({clock, score - 0.5 * sigmas * sigmas});
  }
  std::ranges::stable_sort(offsets, std::greater{}, &Weighted::score);
  const double least = offsets.front().score - kNegligible;
  std::erase_if(offsets, [&](const Weighted& other) { return other.score < least; });
  return offsets;
}

// Contradicts nothing and leaves at most a tenth of the photos out.
bool PairsAlike(const Hypothesis& best, const Hypothesis& other, Index events) {
  const PhotoFlags conflicts = Contradicted(best.eventOf, other.eventOf, events);
  return std::ranges::none_of(conflicts, [](char conflict) { return conflict; }) &&
         10 * other.PairCount() >= 9 * best.PairCount();
}

}  // namespace

std::vector<PhotoMatch> PairByClock(std::span<const double> eventSeconds, std::span<const double> stampSeconds,
                                    StampCell cell, double offsetSeconds, double toleranceSeconds) {
  std::vector<PhotoMatch> matches(stampSeconds.size());
  const OrderedTimes events = InOrder(eventSeconds), stamps = InOrder(stampSeconds);
  if (events.times.empty() || stamps.times.empty() || !std::isfinite(offsetSeconds)) return matches;
  const Sequences sequences(events.times, stamps.times, {}, cell);
  Assigner assigner(sequences);
  const double offset = offsetSeconds - (stamps.origin - events.origin);
  const std::vector<Weighted> offsets = LikelyOffsets(assigner, sequences, offset, std::max(0.0, toleranceSeconds));
  std::vector<Index> eventOf;
  assigner.Best(offsets.front().clock, sequences.Tolerance(offsets.front().clock.spread), kPairingCosts, &eventOf);
  std::vector<double> probability(eventOf.size());
  double weights = 0;
  for (const Weighted& weighted : offsets) {
    const double weight = std::exp(weighted.score - offsets.front().score);
    const PairProbabilities probabilities = assigner.Probabilities(weighted.clock, kPairingCosts, eventOf);
    for (std::size_t k = 0; k < eventOf.size(); ++k) {
      probability[k] += weight * probabilities.amongEvents[k] * probabilities.paired[k];
    }
    weights += weight;
  }
  for (std::size_t k = 0; k < eventOf.size(); ++k) {
    if (eventOf[k] == kNoEvent) continue;
    const double certainty = probability[k] / weights;
    matches[stamps.source[k]] = {events.source[eventOf[k]], certainty, certainty >= kCertain};
  }
  return matches;
}

OffsetCheck CheckOffset(const ClockEstimate& estimate, std::span<const double> eventSeconds,
                        std::span<const double> stampSeconds, StampCell cell, double offsetSeconds,
                        double toleranceSeconds) {
  OffsetCheck check{false, 0, 0};
  const auto given = PairByClock(eventSeconds, stampSeconds, cell, offsetSeconds, toleranceSeconds);
  for (std::size_t k = 0; k < std::min(given.size(), estimate.photos.size()); ++k) {
    const auto& event = estimate.photos[k].event;
    if (event && event != given[k].event) ++check.photosMoved;
  }
  const OrderedTimes events = InOrder(eventSeconds);
  const PhotoRuns runs = RunsOf(stampSeconds, {}, cell);
  const double origin = runs.stamps.origin - events.origin;
  const Sequences all(events.times, runs.stamps.times, {}, cell);
  bool isExcluded = !std::isfinite(offsetSeconds), isTold = false;
  for (const ClockSegment& segment : estimate.clocks) {
    if (segment.verdict == ClockVerdict::NoMatch || segment.endPhoto > runs.stamps.times.size() || isExcluded) continue;
    const Sequences part = all.Part(static_cast<Index>(segment.firstPhoto), static_cast<Index>(segment.endPhoto));
    ClockSearch search(part, Window{offsetSeconds - origin, std::max(0.0, toleranceSeconds)});
    const Hypothesis best = search.Judge({segment.offsetSeconds - origin, segment.drift, segment.spread});
    isTold = true;
    if (std::abs(segment.offsetSeconds - offsetSeconds) <= toleranceSeconds) continue;
    const Hypothesis inUse = search.BestInWindow();
    const double margin = std::max(0.0, Margin(search, best, inUse));
    check.scoreDifference += margin;
    isExcluded = margin >= EnoughMargin(part) && !PairsAlike(best, inUse, part.EventCount());
  }
  check.isAllowed = isTold && !isExcluded;
  return check;
}

}  // namespace kv
