#include "georef/clocks/ClockChain.h"

#include <algorithm>

namespace kv::clocks {
namespace {

// The best of all entries below an index, in logarithmic time.
class PrefixBest {
 public:
  explicit PrefixBest(Index size) : tree_(size + 1) {}

  void Enter(Index index, double value, Index pair) {
    for (Index i = index + 1; i < tree_.size(); i += LowestBit(i)) tree_[i].Add(value, pair);
  }

  BestOf BestBelow(Index end) const {
    BestOf best;
    for (Index i = end; i > 0; i -= LowestBit(i)) best.Add(tree_[i].value, tree_[i].last);
    return best;
  }

 private:
  static Index LowestBit(Index i) { return i & (~i + 1); }

  std::vector<BestOf> tree_;
};

// Pairs that a later one may follow after a run of extra photos. Costs are taken relative to photo 0 and event 0.
class Predecessors {
 public:
  explicit Predecessors(Index events) : at_(events), below_(events) {}

  void Enter(Index event, double value, Index pair) {
    at_[event].Add(value, pair);
    below_.Enter(event, value + kSearchCosts.missedEvent * event, pair);
  }

  // The best to come before an event, with what the events between cost.
  BestOf BestBefore(Index event) const {
    if (event == 0) return {};
    BestOf best = at_[event - 1];
    const BestOf earlier = below_.BestBelow(event - 1);
    best.Add(earlier.value - kSearchCosts.missedRun - kSearchCosts.missedEvent * (event - 1), earlier.last);
    return best;
  }

 private:
  std::vector<BestOf> at_;
  PrefixBest below_;
};

class Chain {
 public:
  Chain(const Sequences& sequences, std::span<const Index> runOf, std::span<const RunClock> clocks, ChangeCosts costs)
      : sequences_(sequences),
        runOf_(runOf),
        clocks_(clocks),
        changeCosts_(costs),
        ofRun_(sequences.EventCount()),
        ofEarlierRuns_(sequences.EventCount()) {
    for (const RunClock& clock : clocks) {
      gains_.emplace_back(sequences, clock.clock.spread, sequences.Tolerance(clock.clock.spread));
    }
    best_.Add(-kSearchCosts.Missed(sequences.EventCount()) - kSearchCosts.Extra(sequences.PhotoCount()), kNoPair);
    begin_.push_back(0);
    for (Index photo = 0; photo < sequences.PhotoCount(); ++photo) Step(photo);
  }

  Division Best() const {
    const Index photos = sequences_.PhotoCount();
    Division division{best_.value, std::vector<Index>(photos, kNoEvent), std::vector<Index>(photos, kNoClock)};
    for (Index pair = best_.last; pair != kNoPair; pair = pairs_[pair].before) {
      division.eventOf[pairs_[pair].photo] = pairs_[pair].event;
      division.clockOf[pairs_[pair].photo] = pairs_[pair].clock;
    }
    return division;
  }

 private:
  struct Pair {
    Index photo, event, clock, before;
    double value;
  };

  void Step(Index photo) {
    if (photo == 0 || runOf_[photo] != runOf_[photo - 1]) BeginRun(runOf_[photo]);
    while (entered_ < (photo > 0 ? begin_[photo - 1] : 0)) Enter(entered_++);
    for (Index clock = firstClock_; clock < endClock_; ++clock) ReachBy(clock, photo);
    begin_.push_back(static_cast<Index>(pairs_.size()));
  }

  // Clocks belong to a run: each run begins with new sets, and what was entered becomes an earlier run's.
  void BeginRun(Index run) {
    for (; inEarlierRuns_ < entered_; ++inEarlierRuns_) EnterInto(ofEarlierRuns_, inEarlierRuns_);
    firstClock_ = endClock_;
    while (firstClock_ < static_cast<Index>(clocks_.size()) && clocks_[firstClock_].run < run) ++firstClock_;
    endClock_ = firstClock_;
    while (endClock_ < static_cast<Index>(clocks_.size()) && clocks_[endClock_].run == run) ++endClock_;
    run_ = run;
    ofRun_ = Predecessors(sequences_.EventCount());
    ofClock_.assign(endClock_ - firstClock_, ofRun_);
  }

  void Enter(Index pair) {
    if (runOf_[pairs_[pair].photo] != run_) {
      EnterInto(ofEarlierRuns_, pair);
      inEarlierRuns_ = pair + 1;
      return;
    }
    EnterInto(ofRun_, pair);
    EnterInto(ofClock_[pairs_[pair].clock - firstClock_], pair);
  }

  void EnterInto(Predecessors& predecessors, Index pair) {
    const Pair& p = pairs_[pair];
    predecessors.Enter(p.event, p.value + kSearchCosts.extraPhoto * p.photo, pair);
  }

  void ReachBy(Index clock, Index photo) {
    const Clock& model = clocks_[clock].clock;
    const double tolerance = sequences_.Tolerance(model.spread);
    const double cellBegin = sequences_.stamps[photo] + sequences_.cell.begin;
    const auto cameraTime = [&](double event) { return model.At(event); };
    const auto low = std::ranges::lower_bound(sequences_.events, cellBegin - tolerance, {}, cameraTime);
    const Index first = static_cast<Index>(low - sequences_.events.begin());
    for (Index event = first; event < std::min(sequences_.EventCount(), first + kMaxEventsPerPhoto); ++event) {
      const double lead = cameraTime(sequences_.events[event]) - cellBegin;
      if (lead >= sequences_.cell.width + tolerance) break;
      const BestOf before = BestBefore(photo, event, clock);
      const double value = before.value + gains_[clock](lead);
      best_.Add(value - kSearchCosts.Missed(sequences_.EventCount() - 1 - event) -
                    kSearchCosts.Extra(sequences_.PhotoCount() - 1 - photo),
                static_cast<Index>(pairs_.size()));
      pairs_.push_back({photo, event, clock, before.last, value});
    }
  }

  BestOf BestBefore(Index photo, Index event, Index clock) const {
    BestOf best{-kSearchCosts.Missed(event) - kSearchCosts.Extra(photo), kNoPair};
    if (photo == 0) return best;
    const double change = runOf_[photo - 1] == run_ ? changeCosts_.inRun : changeCosts_.betweenRuns;
    for (Index pair = begin_[photo - 1]; pair < begin_[photo]; ++pair) {
      const Pair& p = pairs_[pair];
      if (p.event >= event) continue;
      best.Add(p.value - kSearchCosts.Missed(event - p.event - 1) - (p.clock == clock ? 0 : change), pair);
    }
    if (photo == 1) return best;
    const double extra = kSearchCosts.Extra(photo - 1);  // of all photos before; those up to the pair are paid back
    const auto after = [&](const Predecessors& predecessors, double cost) {
      const BestOf before = predecessors.BestBefore(event);
      best.Add(before.value - extra - cost, before.last);
    };
    after(ofClock_[clock - firstClock_], 0);
    after(ofRun_, changeCosts_.inRun);
    after(ofEarlierRuns_, changeCosts_.betweenRuns);
    return best;
  }

  const Sequences& sequences_;
  std::span<const Index> runOf_;
  std::span<const RunClock> clocks_;
  ChangeCosts changeCosts_;
  std::vector<PairGain> gains_;  // per clock
  std::vector<Pair> pairs_;
  std::vector<Index> begin_;  // per photo the first of its pairs
  Predecessors ofRun_, ofEarlierRuns_;
  std::vector<Predecessors> ofClock_;  // of the run's clocks
  Index run_ = 0, firstClock_ = 0, endClock_ = 0;
  Index entered_ = 0, inEarlierRuns_ = 0;  // pairs
  BestOf best_;
};

}  // namespace

Division Divide(const Sequences& sequences, std::span<const Index> runOf, std::span<const RunClock> clocks,
                ChangeCosts changeCosts) {
  return Chain(sequences, runOf, clocks, changeCosts).Best();
}

}  // namespace kv::clocks
