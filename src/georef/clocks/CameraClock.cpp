#include "georef/clocks/CameraClock.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "georef/clocks/ClockChange.h"
#include "georef/clocks/ClockDecision.h"
#include "georef/clocks/ClockResets.h"
#include "georef/clocks/ClockSearch.h"
#include "georef/clocks/PhotoRuns.h"

namespace kv {
namespace {

using namespace clocks;

constexpr Index kFewestPhotos = 3;

// A stretch of photos that was judged.
struct Judged {
  Index first, end, run;  // photos in order
  Decision decision;
};

class Estimator {
 public:
  Estimator(const OrderedTimes& events, const PhotoRuns& runs, StampCell cell, const ClockOptions& options)
      : runs_(runs), all_(events.times, runs.stamps.times, runs.lostBefore, cell) {
    const double origin = runs.stamps.origin - events.origin;
    if (options.window) window_ = Window{options.window->centreSeconds - origin, options.window->reachSeconds};
  }

  /// @return  in order of the photos
  std::vector<Judged> Judge() {
    SearchRuns();
    if (searched_.empty()) return {};
    FindStretches();
    for (std::size_t j = 0; j < stretches_.size(); ++j) JudgeStretch(j);
    DoubtChanges();
    DoubtUnexplainedMission();
    DoubtSharedEvents();
    return std::move(judged_);
  }

 private:
  // A run of photos with the clocks that it might have.
  struct Searched {
    Index run, first, end;
    std::unique_ptr<Sequences> sequences;  // fixed in place: the search refers to it
    std::unique_ptr<ClockSearch> search;
    std::vector<Hypothesis> hypotheses;
  };

  Index RunCount() const { return static_cast<Index>(runs_.begin.size()) - 1; }

  void SearchRuns() {
    for (Index run = 0; run < RunCount(); ++run) {
      const Index first = runs_.begin[run], end = runs_.begin[run + 1];
      if (end - first < kFewestPhotos) continue;
      Searched searched{run, first, end, std::make_unique<Sequences>(all_.Part(first, end)), nullptr, {}};
      searched.search = std::make_unique<ClockSearch>(*searched.sequences, window_);
      searched.hypotheses = searched.search->Find();
      if (!searched.hypotheses.empty()) searched_.push_back(std::move(searched));
    }
  }

  void FindStretches() {
    Searched& only = searched_.front();
    if (searched_.size() > 1) {
      stretches_ = StretchesOf(DivideRuns());
      isDivided_ = !stretches_.empty();
    } else {
      RunDivision division = DivideRun(*only.search, only.hypotheses, window_);
      stretches_ = std::move(division.stretches);
      isDivided_ = !stretches_.empty();
      proposals_ = std::move(division.proposals);
      doubts_ = std::move(division.doubts);
      for (Stretch& stretch : stretches_) {
        stretch.first += only.first;
        stretch.end += only.first;
      }
    }
    if (!isDivided_) stretches_ = {{only.first, only.end}};
  }

  // The clocks of all runs in one chain: what they pair must be in order of time together.
  Division DivideRuns() {
    constexpr std::size_t kClocksPerRun = 6;
    std::vector<RunClock> clocks;
    for (const Searched& searched : searched_) {
      for (std::size_t j = 0; j < std::min(kClocksPerRun, searched.hypotheses.size()); ++j) {
        clocks.push_back({searched.hypotheses[j].clock, searched.run});
        proposals_.push_back(searched.hypotheses[j].clock);
      }
    }
    return Divide(all_, runs_.runOf, clocks, kChangeCosts);
  }

  // Judges a stretch, with the photos without event around it, against every clock of its photos.
  void JudgeStretch(std::size_t j) {
    const Index run = runs_.runOf[stretches_[j].first];
    const bool nextIsInRun = j + 1 < stretches_.size() && runs_.runOf[stretches_[j + 1].first] == run;
    const Index end = nextIsInRun ? stretches_[j].end : runs_.begin[run + 1];
    const Index first = std::max(runs_.begin[run], j == 0 ? 0 : stretches_[j - 1].end);
    const Sequences part = all_.Part(first, end);
    ClockSearch search(part, window_);
    const std::vector<Hypothesis> hypotheses = isDivided_ ? search.Find(proposals_) : searched_.front().hypotheses;
    if (hypotheses.empty()) return;
    judged_.push_back({first, end, run, Decide(search, hypotheses, doubts_ ? &*doubts_ : nullptr)});
  }

  // Photos between the earliest and the latest place of a change within a run are not certain.
  void DoubtChanges() {
    constexpr Index kEvaluations = 60;
    std::vector<Judged*> told;
    for (Judged& judged : judged_) {
      const ClockVerdict verdict = judged.decision.verdict;
      if (verdict == ClockVerdict::NoMatch) continue;
      if (verdict == ClockVerdict::Resolved || judged_.size() <= 2) told.push_back(&judged);
    }
    for (std::size_t j = 1; j < told.size(); ++j) {
      Judged &before = *told[j - 1], &after = *told[j];
      if (before.run != after.run) continue;
      const Sequences both = all_.Part(before.first, after.end);
      const ChangeRange range = WhereChanged(both, before.decision.best.clock, after.decision.best.clock,
                                             before.end - before.first, kEvaluations);
      for (Judged* judged : {&before, &after}) {
        Doubt(*judged, before.first + range.first, before.first + range.last);
      }
    }
  }

  static void Doubt(Judged& judged, Index first, Index end) {
    for (Index photo = std::max(first, judged.first); photo < std::min(end, judged.end); ++photo) {
      judged.decision.certain[photo - judged.first] = false;
      judged.decision.withoutEvent[photo - judged.first] = false;
    }
  }

  // A mission with several clocks must be explained as a whole.
  void DoubtUnexplainedMission() {
    constexpr std::size_t kMostClocks = 4;
    constexpr double kLeastEvidence = 20;                      // nats for each clock where nothing jumps back
    constexpr double kLeastPaired = 0.5, kFewestPaired = 0.3;  // of photos or events, whichever are fewer
    if (judged_.size() < 2) return;
    Index paired = 0, runs = 0;
    std::optional<Index> lastRun;
    bool allResolved = true, allEvident = true;
    for (const Judged& judged : judged_) {
      if (judged.decision.verdict != ClockVerdict::NoMatch) paired += judged.decision.best.PairCount();
      allResolved = allResolved && judged.decision.verdict == ClockVerdict::Resolved;
      allEvident = allEvident && judged.decision.evidence >= kLeastEvidence;
      runs += judged.run != lastRun;
      lastRun = judged.run;
    }
    const double possible = std::min(all_.PhotoCount(), all_.EventCount());
    const std::size_t changesInRuns = judged_.size() - runs;
    const bool isExplained = judged_.size() <= kMostClocks && (changesInRuns <= 1 || allResolved) &&
                             paired >= kLeastPaired * possible && (RunCount() > 1 || allEvident);
    if (isExplained) return;
    for (Judged& judged : judged_) {
      ClockVerdict& verdict = judged.decision.verdict;
      if (verdict == ClockVerdict::Resolved) verdict = ClockVerdict::Ambiguous;
      if (paired < kFewestPaired * possible) verdict = ClockVerdict::NoMatch;
    }
  }

  // Two clocks that claim the same events: the photos around the change, closely spaced, are not certain.
  void DoubtSharedEvents() {
    for (std::size_t j = 1; j < judged_.size(); ++j) {
      Judged &before = judged_[j - 1], &after = judged_[j];
      const std::vector<Index> earlier = PairingOf(before.decision.eventOf).events;
      const std::vector<Index> later = PairingOf(after.decision.eventOf).events;
      if (earlier.empty() || later.empty() || later.front() > earlier.back()) continue;
      DoubtEnd(before);
      DoubtBegin(after);
    }
  }

  static constexpr Index kMostDoubted = 12;

  bool IsCloseBehind(Index photo) const {
    return all_.stamps[photo] - all_.stamps[photo - 1] < 2 * std::max(all_.cell.width, 0.5);
  }

  void DoubtEnd(Judged& judged) const {
    Index first = judged.end - 1;
    while (first > judged.first && judged.end - first < kMostDoubted && IsCloseBehind(first)) --first;
    Doubt(judged, first, judged.end);
  }

  void DoubtBegin(Judged& judged) const {
    Index end = judged.first + 1;
    while (end < judged.end && end - judged.first < kMostDoubted && IsCloseBehind(end)) ++end;
    Doubt(judged, judged.first, end);
  }

  const PhotoRuns& runs_;
  Sequences all_;
  std::optional<Window> window_;
  std::vector<Searched> searched_;
  std::vector<Stretch> stretches_;
  bool isDivided_ = false;  // into the stretches of several clocks, or of several runs
  std::vector<Clock> proposals_;
  std::optional<ChangeDoubts> doubts_;
  std::vector<Judged> judged_;
};

ClockVerdict Together(const std::vector<Judged>& judged) {
  const auto any = [&](ClockVerdict verdict) {
    return std::ranges::any_of(judged, [&](const Judged& j) { return j.decision.verdict == verdict; });
  };
  if (!any(ClockVerdict::Resolved))
    return any(ClockVerdict::Ambiguous) ? ClockVerdict::Ambiguous : ClockVerdict::NoMatch;
  const bool all = !any(ClockVerdict::Ambiguous) && !any(ClockVerdict::NoMatch);
  return all ? ClockVerdict::Resolved : ClockVerdict::Partial;
}

ClockSegment SegmentOf(const Judged& judged, const OrderedTimes& events, double origin) {
  const Decision& decision = judged.decision;
  const Clock& clock = decision.best.clock;
  ClockSegment segment{static_cast<std::size_t>(judged.first),
                       static_cast<std::size_t>(judged.end),
                       decision.verdict,
                       clock.offset + origin,
                       decision.best.offsetSigma,
                       clock.drift,
                       events.origin,
                       clock.spread,
                       decision.rivals};
  for (ClockRival& rival : segment.rivals) rival.offsetSeconds += origin;
  return segment;
}

bool AreTooFew(const OrderedTimes& events, const OrderedTimes& stamps) {
  const auto [low, high] = std::ranges::minmax_element(stamps.times);
  return events.times.size() < kFewestPhotos || stamps.times.size() < kFewestPhotos || *low == *high ||
         events.times.front() == events.times.back();
}

}  // namespace

ClockEstimate EstimateClock(std::span<const double> eventSeconds, std::span<const double> stampSeconds, StampCell cell,
                            const ClockOptions& options) {
  ClockEstimate estimate;
  estimate.photos.resize(stampSeconds.size());
  estimate.withoutEvent.resize(stampSeconds.size());
  const OrderedTimes events = InOrder(eventSeconds);
  const PhotoRuns runs = RunsOf(stampSeconds, options.photoNumbers, cell);
  if (AreTooFew(events, runs.stamps)) return estimate;
  const std::vector<Judged> judged = Estimator(events, runs, cell, options).Judge();
  Index firstFree = 0;  // the first event behind those of the clocks before
  for (const Judged& j : judged) {
    const Decision& decision = j.decision;
    estimate.clocks.push_back(SegmentOf(j, events, runs.stamps.origin - events.origin));
    if (decision.verdict != ClockVerdict::Resolved) continue;
    Index endOfThis = firstFree;
    for (Index photo = j.first; photo < j.end; ++photo) {
      const Index k = photo - j.first, event = decision.eventOf[k];
      const std::size_t source = runs.stamps.source[photo];
      if (decision.withoutEvent[k]) estimate.withoutEvent[source] = true;
      if (event == kNoEvent) continue;
      // Clocks that follow each other pair in order: an event that two of them claim stays with the first.
      if (event < firstFree) continue;
      endOfThis = std::max(endOfThis, event + 1);
      estimate.photos[source] = {events.source[event], decision.probability[k], decision.certain[k] != 0};
    }
    firstFree = endOfThis;
  }
  estimate.verdict = Together(judged);
  return estimate;
}

}  // namespace kv
