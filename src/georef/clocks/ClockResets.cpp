#include "georef/clocks/ClockResets.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "georef/clocks/ClockChange.h"

namespace kv::clocks {
namespace {

constexpr Index kFewestPhotos = 6;        // that can tell a clock of their own
constexpr Index kFewestToDivide = 12;     // twice as many
constexpr Index kQuartered = 40;          // photos from which quarters are looked at beside halves
constexpr Index kMostWindowPhotos = 800;  // clocks of longer windows are found on their middle, and grow from there
constexpr Index kWindowCandidates = 12;

// The runs of photos without event, long enough to tell a clock.
std::vector<Stretch> UnpairedStretches(const std::vector<Index>& eventOf) {
  std::vector<Stretch> stretches;
  const Index photos = static_cast<Index>(eventOf.size());
  for (Index first = 0; first < photos;) {
    Index end = first;
    while (end < photos && eventOf[end] == kNoEvent) ++end;
    if (end - first >= kFewestPhotos) stretches.push_back({first, end});
    first = end + 1;
  }
  return stretches;
}

std::vector<Stretch> Windows(const std::vector<Index>& eventOf) {
  const Index n = static_cast<Index>(eventOf.size());
  std::vector<Stretch> windows{{0, n / 2}, {n / 2, n}};
  for (Index quarter = 0; quarter < 4 && n >= kQuartered; ++quarter) {
    windows.push_back({n * quarter / 4, n * (quarter + 1) / 4});
  }
  for (const Stretch& stretch : UnpairedStretches(eventOf)) windows.push_back(stretch);
  return windows;
}

Stretch MiddleOf(const Stretch& window) {
  const Index surplus = Below(window.end - window.first, kMostWindowPhotos);
  return {window.first + surplus / 2, window.end - (surplus - surplus / 2)};
}

class RunDivider {
 public:
  RunDivider(ClockSearch& search, const std::vector<Hypothesis>& hypotheses, std::optional<Window> window)
      : search_(search),
        sequences_(search.Of()),
        hypotheses_(hypotheses),
        best_(hypotheses.front()),
        window_(window),
        runOf_(sequences_.PhotoCount(), 0),
        sameOffset_(sequences_.IsCoarse() ? 0.08 : std::max(0.01, 2 * best_.clock.spread)),
        mostProposals_(std::clamp(60'000 / sequences_.PhotoCount(), 8u, 80u)) {}

  RunDivision Result() {
    RunDivision result;
    const Index photos = sequences_.PhotoCount(), pairs = best_.PairCount();
    if (photos < kFewestToDivide || pairs == photos || pairs == sequences_.EventCount()) return result;
    ProposeClocks();
    if (clocks_.size() > 1) {
      Division division = Divide(sequences_, runOf_, clocks_, kChangeCosts);
      Improve(division);
      if (division.score > best_.score && ClocksUsed(division).size() > 1) {
        result.stretches = StretchesOf(division);
      } else {
        result.doubts = Doubts();
      }
    }
    for (const RunClock& clock : clocks_) result.proposals.push_back(clock.clock);
    return result;
  }

 private:
  bool IsSame(const Clock& a, const Clock& b) const {
    return std::abs(a.offset - b.offset) < sameOffset_ &&
           std::abs(a.drift - b.drift) * sequences_.EventSpan() < 3 * sameOffset_;
  }

  // The best clocks of the whole run, and those that its parts would choose.
  void ProposeClocks() {
    constexpr std::size_t kOfWhole = 4, kFurtherOfWhole = 12;
    for (std::size_t j = 0; j < std::min(kOfWhole, hypotheses_.size()); ++j)
      clocks_.push_back({hypotheses_[j].clock, 0});
    for (const Stretch& window : Windows(best_.eventOf)) {
      if (window.end - window.first >= kFewestPhotos) ProposeFrom(window);
    }
    for (std::size_t j = kOfWhole; j < std::min(kFurtherOfWhole, hypotheses_.size()); ++j) {
      const Clock& clock = hypotheses_[j].clock;
      const bool isNew = std::ranges::none_of(
          clocks_, [&](const RunClock& other) { return std::abs(clock.offset - other.clock.offset) < sameOffset_; });
      if (isNew && clocks_.size() < mostProposals_) clocks_.push_back({clock, 0});
    }
  }

  void ProposeFrom(const Stretch& window) {
    constexpr std::size_t kBest = 3, kFurther = 6;
    constexpr double kBeside = 15, kNearlyAsGood = 6;  // seconds, nats
    const Stretch middle = MiddleOf(window);
    const Sequences part = sequences_.Part(middle.first, middle.end);
    ClockSearch search(part, window_);
    for (const Hypothesis& hypothesis : BesideTheBest(search, middle)) ProposeGrown(hypothesis.clock, middle, window);
    const std::vector<Hypothesis> found = search.FromVotes(kWindowCandidates);
    std::size_t further = 0;
    for (std::size_t j = 0; j < found.size(); ++j) {
      const bool isBeside = std::abs(found[j].clock.offset - best_.clock.offset) < kBeside &&
                            found[j].score > found.front().score - kNearlyAsGood;
      if (j >= kBest && (!isBeside || further++ >= kFurther)) continue;
      ProposeGrown(found[j].clock, middle, window);
    }
  }

  // A clock found on the middle of a long window drifts away from the photos at its ends: fitted again as the part grows.
  void ProposeGrown(Clock clock, Stretch part, const Stretch& window) {
    const double event = sequences_.stamps[part.first + (part.end - part.first) / 2] - clock.offset;
    const auto meetsHere = [&](const RunClock& other) {
      return std::abs(other.clock.At(event) - clock.At(event)) < sameOffset_;
    };
    const bool isWhole = part.first == window.first && part.end == window.end;
    if (!isWhole && std::ranges::any_of(clocks_, meetsHere)) return;
    while (part.first > window.first || part.end < window.end) {
      const Index step = part.end - part.first;
      part = {std::max(window.first, Below(part.first, step)), std::min(window.end, part.end + step)};
      const Sequences grown = sequences_.Part(part.first, part.end);
      clock = ClockSearch(grown, {}).Refine(clock, 0.3).clock;
    }
    Propose(clock);
  }

  void Propose(const Clock& clock) {
    if (clocks_.size() >= mostProposals_) return;
    const auto isSame = [&](const RunClock& other) { return IsSame(clock, other.clock); };
    if (std::ranges::none_of(clocks_, isSame)) clocks_.push_back({clock, 0});
  }

  // Clocks a few intervals beside the best one, judged on a window alone.
  std::vector<Hypothesis> BesideTheBest(ClockSearch& search, const Stretch& window) {
    constexpr std::size_t kMost = 6;
    std::vector<Hypothesis> beside = sequences_.IsCoarse() ? OnAScan(search) : ByShifts(search, window);
    KeepDistinct(beside);
    beside = search.WithSurroundings(std::move(beside), 2);
    if (beside.size() > kMost) beside.resize(kMost);
    return beside;
  }

  std::vector<Hypothesis> OnAScan(ClockSearch& search) {
    constexpr double kIntervals = 3.5, kStep = 0.1, kSpread = 0.05, kBesides = 0.3,
                     kReach = 0.2;  // seconds but the first
    constexpr std::size_t kMost = 6;
    const double interval = sequences_.MedianInterval();
    Grid grid{best_.clock.offset, 0, 0, best_.clock.drift};
    grid.offsets = static_cast<Index>(std::min(161.0, 2 * std::floor(kIntervals * interval / kStep) + 1));
    grid.offsetStep = 2 * kIntervals * interval / grid.offsets;
    const std::vector<double> scores = search.Scores(grid, kSpread);
    std::vector<Index> maxima;
    for (Index i = 0; i < grid.offsets; ++i) {
      const bool isMaximum =
          (i == 0 || scores[i] >= scores[i - 1]) && (i + 1 == grid.offsets || scores[i] >= scores[i + 1]);
      if (isMaximum && std::abs(grid.Offset(i) - best_.clock.offset) > kBesides) maxima.push_back(i);
    }
    std::ranges::stable_sort(maxima, [&](Index a, Index b) { return scores[a] > scores[b]; });
    if (maxima.size() > kMost) maxima.resize(kMost);
    std::vector<Hypothesis> beside;
    for (const Index i : maxima) beside.push_back(search.Refine({grid.Offset(i), best_.clock.drift}, kReach));
    return beside;
  }

  std::vector<Hypothesis> ByShifts(ClockSearch& search, const Stretch& window) {
    const auto eventOf = std::span(best_.eventOf).subspan(window.first, window.end - window.first);
    std::vector<Hypothesis> beside;
    for (const int shift : {-3, -2, -1, 1, 2, 3}) {
      const std::optional<double> offset = search.ShiftedOffset(best_.clock.offset, eventOf, shift, 3);
      if (offset) beside.push_back(search.Refine({*offset, best_.clock.drift}, search.UsualReach()));
    }
    return beside;
  }

  static std::vector<Index> ClocksUsed(const Division& division) {
    std::vector<Index> used(division.clockOf);
    std::ranges::sort(used);
    used.erase(std::unique(used.begin(), used.end()), used.end());
    if (!used.empty() && used.back() == kNoClock) used.pop_back();
    return used;
  }

  // Fits the clocks to the photos that they got, then divides again.
  void Improve(Division& division) {
    constexpr Index kRounds = 3;
    constexpr double kReach = 0.2, kGain = 0.5;  // seconds, nats
    constexpr std::size_t kPerStretch = 8, kKept = 40;
    for (Index round = 0; round < kRounds; ++round) {
      const std::vector<Index> used = ClocksUsed(division);
      if (used.size() < 2 || division.score <= best_.score) return;
      std::vector<RunClock> clocks;
      for (const Index clock : used) clocks.push_back(clocks_[clock]);
      for (const Stretch& stretch : StretchesOf(division)) {
        if (stretch.end - stretch.first < kFewestPhotos) continue;
        const Sequences part = sequences_.Part(stretch.first, stretch.end);
        ClockSearch search(part, window_);
        const Clock& clock = clocks_[division.clockOf[stretch.first]].clock;
        const auto better = search.WithSurroundings({search.Refine(clock, kReach)}, 1);
        for (std::size_t j = 0; j < std::min(kPerStretch, better.size()); ++j) clocks.push_back({better[j].clock, 0});
      }
      Division improved = Divide(sequences_, runOf_, clocks, kChangeCosts);
      if (improved.score <= division.score + kGain) return;
      division = std::move(improved);
      clocks_.resize(std::min(kKept, clocks_.size()));
      clocks_.insert(clocks_.begin(), clocks.begin(), clocks.end());
    }
  }

  // One clock explains the run best. With each other clock beside it: would a change be about as likely, and which photos
  // would it pair otherwise?
  std::optional<ChangeDoubts> Doubts() {
    const auto photos = static_cast<std::size_t>(sequences_.PhotoCount());
    ChangeDoubts doubts{PhotoFlags(photos), PhotoFlags(photos)};
    const std::vector<Index> pairing = search_.Pair(ForPairing(sequences_, best_.clock));
    bool any = false;
    for (const RunClock& other : clocks_) {
      if (!IsSame(other.clock, best_.clock)) any = AddDoubts(other.clock, pairing, doubts) || any;
    }
    return any ? std::optional(doubts) : std::nullopt;
  }

  bool AddDoubts(const Clock& other, const std::vector<Index>& pairing, ChangeDoubts& doubts) {
    constexpr Index kEvaluations = 24;
    const RunClock clocks[] = {{best_.clock, 0}, {other, 0}};
    const Division division =
        Divide(sequences_, runOf_, clocks, {kChangeCosts.inRun - kAboutAsGood, kChangeCosts.betweenRuns});
    const std::vector<Stretch> stretches = StretchesOf(division);
    if (stretches.size() < 2) return false;
    const PhotoFlags conflicts = Contradicted(best_.eventOf, division.eventOf, sequences_.EventCount());
    for (std::size_t k = 0; k < conflicts.size(); ++k) {
      doubts.contradicted[k] = doubts.contradicted[k] || conflicts[k];
      doubts.pairedElsewhere[k] = doubts.pairedElsewhere[k] || division.eventOf[k] != kNoEvent;
    }
    if (stretches.size() == 2) {  // one change: it may lie anywhere in a range
      const bool bestIsFirst = division.clockOf[stretches[0].first] == 0;
      const ChangeRange range = bestIsFirst
                                    ? WhereChanged(sequences_, best_.clock, other, stretches[0].end, kEvaluations)
                                    : WhereChanged(sequences_, other, best_.clock, stretches[0].end, kEvaluations);
      const std::vector<Index> otherwise = search_.Pair(ForPairing(sequences_, other));
      const PhotoFlags changed = Contradicted(pairing, otherwise, sequences_.EventCount());
      const Index first = bestIsFirst ? range.first : 0, end = bestIsFirst ? sequences_.PhotoCount() : range.last;
      for (Index k = first; k < end; ++k) doubts.contradicted[k] = doubts.contradicted[k] || changed[k];
    }
    return true;
  }

  ClockSearch& search_;
  const Sequences& sequences_;
  const std::vector<Hypothesis>& hypotheses_;
  const Hypothesis& best_;
  std::optional<Window> window_;
  std::vector<Index> runOf_;
  double sameOffset_;  // seconds
  std::size_t mostProposals_;
  std::vector<RunClock> clocks_;
};

}  // namespace

RunDivision DivideRun(ClockSearch& search, const std::vector<Hypothesis>& hypotheses, std::optional<Window> window) {
  return RunDivider(search, hypotheses, window).Result();
}

std::vector<Stretch> StretchesOf(const Division& division) {
  std::vector<Stretch> stretches;
  Index clock = kNoClock;
  for (Index photo = 0; photo < division.clockOf.size(); ++photo) {
    if (division.clockOf[photo] == kNoClock) continue;
    if (division.clockOf[photo] != clock) stretches.push_back({photo, photo});
    clock = division.clockOf[photo];
    stretches.back().end = photo + 1;
  }
  return stretches;
}

}  // namespace kv::clocks
