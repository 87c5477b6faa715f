#include "georef/clocks/ClockSearch.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "georef/clocks/ClockCandidates.h"
#include "georef/clocks/ClockFit.h"

namespace kv::clocks {
namespace {

constexpr Index kCandidates = 32;
constexpr Index kLongMission = 1500;                     // photos; longer ones are judged on slices first
constexpr Index kSliceReach = 300;                       // photos to either side of a slice's middle
constexpr Index kFitSteps = 3;                           // assignments and fits in turn; more change nothing
constexpr Index kFewestPairs = 3;                        // offset, drift and a witness
constexpr int kShifts[] = {-4, -3, -2, -1, 1, 2, 3, 4};  // events

// The pairs of an assignment, of long ones evenly spread pairs: some thousands fix an offset to a quarter of a millisecond.
std::vector<TimePair> Times(const Sequences& sequences, const std::vector<Index>& eventOf) {
  constexpr std::size_t kMost = 4000;
  std::vector<TimePair> times;
  for (std::size_t photo = 0; photo < eventOf.size(); ++photo) {
    if (eventOf[photo] == kNoEvent) continue;
    times.push_back({sequences.events[eventOf[photo]], sequences.stamps[photo] + sequences.cell.begin});
  }
  const std::size_t step = times.size() / kMost + 1;
  for (std::size_t k = 0; step > 1 && k * step < times.size(); ++k) times[k] = times[k * step];
  times.resize((times.size() + step - 1) / step);
  return times;
}

void SortByScore(std::vector<Hypothesis>& hypotheses) {
  std::ranges::stable_sort(hypotheses, std::greater{}, &Hypothesis::score);
}

}  // namespace

Index Hypothesis::PairCount() const {
  return static_cast<Index>(std::ranges::count_if(eventOf, [](Index event) { return event != kNoEvent; }));
}

Pairing PairingOf(const std::vector<Index>& eventOf) {
  Pairing pairing;
  for (Index photo = 0; photo < eventOf.size(); ++photo) {
    if (eventOf[photo] == kNoEvent) continue;
    pairing.photos.push_back(photo);
    pairing.events.push_back(eventOf[photo]);
  }
  return pairing;
}

void KeepDistinct(std::vector<Hypothesis>& hypotheses) {
  constexpr double kSameScore = 1e-6;
  SortByScore(hypotheses);
  std::vector<Hypothesis> kept;
  for (Hypothesis& hypothesis : hypotheses) {
    const bool isKnown = std::ranges::any_of(kept, [&](const Hypothesis& other) {
      return std::abs(hypothesis.score - other.score) < kSameScore && hypothesis.eventOf == other.eventOf;
    });
    if (!isKnown) kept.push_back(std::move(hypothesis));
  }
  hypotheses = std::move(kept);
}

std::vector<Hypothesis> ClockSearch::Find(const std::vector<Clock>& further) {
  std::vector<Hypothesis> hypotheses = FromVotes(kCandidates);
  for (const Clock& clock : further) hypotheses.push_back(Refine(clock, UsualReach()));
  SortByScore(hypotheses);
  if (hypotheses.empty()) return hypotheses;
  hypotheses = WithSurroundings(WithNeighbours(WithSurroundings(std::move(hypotheses), 3)), 1);
  AddExactShifts(hypotheses);
  return hypotheses;
}

bool ClockSearch::IsLong() const {
  const auto& stamps = sequences_.stamps;
  return sequences_.PhotoCount() > kLongMission || stamps.back() - stamps.front() > 2 * kSliceSeconds;
}

std::vector<Hypothesis> ClockSearch::FromVotes(std::size_t most) {
  const std::vector<double> offsets = CandidateOffsets(sequences_, most);
  if (IsLong()) return FromSlices(offsets);
  std::vector<Hypothesis> hypotheses;
  for (const double offset : offsets) {
    constexpr double kVoteError = 2;  // seconds beyond the window: cells and bins
    if (window_ && std::abs(offset - window_->centre) > window_->reach + kVoteError) continue;
    hypotheses.push_back(InWindow(Refine({BestNearby(offset)}, UsualReach())));
  }
  KeepDistinct(hypotheses);
  return hypotheses;
}

// Votes have bins of a quarter of a second: for wide stamps the best offset nearby, before the first fit.
double ClockSearch::BestNearby(double offset) {
  if (!sequences_.IsCoarse()) return offset;
  const Grid grid{offset, 0.15, 7};
  const std::vector<double> scores = Scores(grid, 0.1);
  return grid.Offset(static_cast<Index>(std::ranges::max_element(scores) - scores.begin()));
}

// A long mission drifts too far for one offset: each candidate is judged on slices, and the best ones grow from there.
std::vector<Hypothesis> ClockSearch::FromSlices(const std::vector<double>& offsets) {
  constexpr std::size_t kGrown = 6;
  constexpr double kHopeless = 60;     // nats behind the best one of the slice
  constexpr double kSameClock = 0.05;  // seconds
  std::vector<Hypothesis> grown;
  for (const double share : kSliceMiddles) {
    const Index middle = static_cast<Index>(share * sequences_.PhotoCount());
    const Sequences slice =
        sequences_.Part(Below(middle, kSliceReach), std::min(sequences_.PhotoCount(), middle + kSliceReach));
    ClockSearch search(slice, {});
    std::vector<Hypothesis> onSlice;
    for (const double offset : offsets) onSlice.push_back(search.Refine({search.BestNearby(offset)}, UsualReach()));
    SortByScore(onSlice);
    const double time = sequences_.stamps[middle];
    for (std::size_t i = 0; i < std::min(kGrown, onSlice.size()); ++i) {
      if (onSlice[i].score < onSlice.front().score - kHopeless) break;
      const auto meetsHere = [&](const Hypothesis& other) {
        const double event = time - other.clock.offset;
        return std::abs(other.clock.At(event) - onSlice[i].clock.At(event)) < kSameClock;
      };
      if (std::ranges::any_of(grown, meetsHere)) continue;
      grown.push_back(GrownFrom(middle, onSlice[i]));
    }
  }
  for (Hypothesis& hypothesis : grown) hypothesis = InWindow(std::move(hypothesis));
  KeepDistinct(grown);
  return grown;
}

Hypothesis ClockSearch::GrownFrom(Index middle, Hypothesis hypothesis) {
  const double reach = sequences_.IsCoarse() ? 0.3 : 0.2;  // the slice before has settled most of the drift
  const Index count = sequences_.PhotoCount();
  for (Index photos = 2 * kSliceReach; photos < count; photos *= 2) {
    const Sequences part = sequences_.Part(Below(middle, photos), std::min(count, middle + photos));
    hypothesis = ClockSearch(part, {}).Refine(hypothesis.clock, reach);
  }
  return Refine(hypothesis.clock, reach);
}

std::optional<double> ClockSearch::ShiftedOffset(double offset, std::span<const Index> eventOf, int shift,
                                                 std::size_t least) const {
  std::vector<double> changes;
  for (const Index event : eventOf) {
    if (event == kNoEvent) continue;
    const auto other = static_cast<std::size_t>(std::int64_t{event} + shift);  // wraps far beyond the events
    if (other < sequences_.events.size()) changes.push_back(sequences_.events[event] - sequences_.events[other]);
  }
  if (changes.size() < least) return {};
  return offset + Median(std::move(changes));
}

Hypothesis ClockSearch::Refine(const Clock& clock, double reach) {
  return sequences_.IsCoarse() ? RefineCoarse(clock, reach) : RefineFine(clock, reach);
}

Hypothesis ClockSearch::RefineCoarse(Clock clock, double reach) {
  constexpr double kFirstSpread = 0.12, kFirstOutside = 0.08, kOutside = 0.03;  // seconds
  Hypothesis hypothesis;
  clock.spread = kFirstSpread;
  double tolerance = reach;
  for (Index step = 0; step < kFitSteps; ++step) {
    hypothesis.score = assigner_.Best(clock, tolerance, kSearchCosts, &hypothesis.eventOf);
    hypothesis.clock = clock;
    const std::vector<TimePair> times = Times(sequences_, hypothesis.eventOf);
    if (times.size() < kFewestPairs) return hypothesis;
    const ClockFit fit = FitCells(times, sequences_.cell.width, step == 0 ? kFirstOutside : kOutside, clock.drift);
    hypothesis.offsetSigma = fit.offsetSigma;
    hypothesis.driftSigma = fit.driftSigma;
    clock = fit.clock;
    clock.spread = kOutside;
    tolerance = sequences_.Tolerance(kOutside);
  }
  // Spreads, and what speaks against them: only a camera with an unsteady shutter needs the last one.
  constexpr std::pair<double, double> kSpreads[] = {{0.01, 0}, {0.03, 0}, {0.08, 4}};
  hypothesis.score = -std::numeric_limits<double>::infinity();
  std::vector<Index> eventOf;
  for (const auto& [spread, cost] : kSpreads) {
    clock.spread = spread;
    const double score = assigner_.Best(clock, sequences_.Tolerance(spread), kSearchCosts, &eventOf) - cost;
    if (score <= hypothesis.score) continue;
    hypothesis.score = score;
    hypothesis.clock = clock;
    hypothesis.eventOf = eventOf;
  }
  hypothesis.score -= DriftCost(clock.drift);
  return hypothesis;
}

Hypothesis ClockSearch::RefineFine(const Clock& first, double reach) {
  Clock clock = VoteAround(sequences_, first, reach);
  clock.spread = 2 * std::max(0.004, sequences_.cell.width);
  double tolerance = 6 * clock.spread;
  Hypothesis hypothesis;
  for (Index step = 0; step <= kFitSteps; ++step) {
    hypothesis.score = assigner_.Best(clock, tolerance, kSearchCosts, &hypothesis.eventOf);
    hypothesis.clock = clock;
    const std::vector<TimePair> times = Times(sequences_, hypothesis.eventOf);
    if (times.size() < kFewestPairs) return hypothesis;
    if (step == kFitSteps) break;
    const ClockFit fit = FitLine(times, sequences_.cell.width, clock.spread);
    hypothesis.offsetSigma = fit.offsetSigma;
    hypothesis.driftSigma = fit.driftSigma;
    clock = fit.clock;
    tolerance = std::max(6 * clock.spread, 2 * sequences_.cell.width);
  }
  hypothesis.score -= DriftCost(clock.drift);
  return hypothesis;
}

Hypothesis ClockSearch::BestInWindow() {
  if (!window_) return {};
  constexpr double kMostSteps = 100;
  const auto steps = static_cast<int>(std::min(kMostSteps, std::ceil(window_->reach / UsualReach())));
  Hypothesis best;
  for (int i = -steps; i <= steps; ++i) {
    const double offset = window_->centre + (steps > 0 ? window_->reach * i / steps : 0);
    Hypothesis hypothesis = InWindow(Refine({offset}, UsualReach()));
    if (hypothesis.score > best.score) best = std::move(hypothesis);
  }
  return best;
}

Hypothesis ClockSearch::Judge(const Clock& clock) {
  Hypothesis hypothesis;
  hypothesis.clock = clock;
  hypothesis.score = assigner_.Best(clock, sequences_.Tolerance(clock.spread), kSearchCosts, &hypothesis.eventOf) -
                     DriftCost(clock.drift);
  return hypothesis;
}

// A given offset and drift, not fitted, with the better of two spreads.
Hypothesis ClockSearch::At(double offset, double drift) {
  Hypothesis best;
  best.offsetSigma = 0.05;  // about the distance of the grid's points
  best.driftSigma = 1e-5;
  std::vector<Index> eventOf;
  for (const double spread : {0.01, 0.03}) {
    const Clock clock{offset, drift, spread};
    const double score = assigner_.Best(clock, sequences_.Tolerance(spread), kSearchCosts, &eventOf) - DriftCost(drift);
    if (score <= best.score) continue;
    best.clock = clock;
    best.score = score;
    best.eventOf = eventOf;
  }
  return best;
}

// Where the offset is bounded, a clock outside is judged at the nearest offset inside.
Hypothesis ClockSearch::InWindow(Hypothesis hypothesis) {
  Clock& clock = hypothesis.clock;
  if (!window_ || std::abs(clock.offset - window_->centre) <= window_->reach) return hypothesis;
  clock.offset = std::clamp(clock.offset, window_->centre - window_->reach, window_->centre + window_->reach);
  if (sequences_.IsCoarse()) return At(clock.offset, clock.drift);
  hypothesis.score = assigner_.Best(clock, sequences_.Tolerance(clock.spread), kSearchCosts, &hypothesis.eventOf) -
                     DriftCost(clock.drift);
  return hypothesis;
}

std::vector<double> ClockSearch::Scores(const Grid& grid, double spread) {
  std::vector<double> scores;
  scores.reserve(static_cast<std::size_t>(grid.drifts) * grid.offsets);
  for (Index j = 0; j < grid.drifts; ++j) {
    for (Index i = 0; i < grid.offsets; ++i) {
      scores.push_back(assigner_.Best({grid.Offset(i), grid.Drift(j), spread}, 3 * spread, kSearchCosts, nullptr));
    }
  }
  return scores;
}

std::vector<Index> ClockSearch::Pair(const Clock& clock) {
  std::vector<Index> eventOf;
  assigner_.Best(clock, sequences_.Tolerance(clock.spread), kPairingCosts, &eventOf);
  return eventOf;
}

// The clocks that pair each photo with the event one to four before or after; they are what regular triggering confuses.
std::vector<Hypothesis> ClockSearch::WithNeighbours(std::vector<Hypothesis> hypotheses) {
  constexpr Index kRounds = 3;  // the best may be a neighbour of a neighbour
  for (Index round = 0; round < kRounds; ++round) {
    const Hypothesis best = hypotheses.front();
    for (const int shift : kShifts) {
      const std::optional<double> offset = ShiftedOffset(best.clock.offset, best.eventOf, shift, 1);
      if (offset) hypotheses.push_back(InWindow(Refine({*offset, best.clock.drift}, UsualReach())));
    }
    SortByScore(hypotheses);
    if (hypotheses.front().score <= best.score + 1e-9) break;
  }
  return hypotheses;
}

// The neighbours of the best clock with its very phase, drift and spread: where triggering is regular, they are as good
// but for the ends, and a fit of their own would only add noise to the comparison.
void ClockSearch::AddExactShifts(std::vector<Hypothesis>& hypotheses) {
  const Hypothesis best = hypotheses.front();
  for (const int shift : kShifts) {
    const std::optional<double> offset = ShiftedOffset(best.clock.offset, best.eventOf, shift, 1);
    if (!offset || (window_ && std::abs(*offset - window_->centre) > window_->reach)) continue;
    hypotheses.push_back(Judge({*offset, best.clock.drift, best.clock.spread}));
  }
  KeepDistinct(hypotheses);
}

}  // namespace kv::clocks
