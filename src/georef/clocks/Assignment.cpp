#include "georef/clocks/Assignment.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace kv::clocks {
namespace {

// Share of exposures whose stamp has nothing to do with the clock.
constexpr double kOutliers = 1e-4;

// The distribution function of the normal distribution between +-8, interpolated in a table: error below 2e-6.
class NormalTable {
 public:
  NormalTable() {
    double x = -kEnd;
    for (double& value : values_) {
      value = 0.5 * std::erfc(-x / std::numbers::sqrt2);
      x += 1 / kPerUnit;
    }
  }

  double operator()(double x) const {
    if (x <= -kEnd) return 0;
    if (x >= kEnd) return 1;
    const double at = (x + kEnd) * kPerUnit;
    const auto i = static_cast<std::size_t>(at);
    return values_[i] + (at - static_cast<double>(i)) * (values_[i + 1] - values_[i]);
  }

  static constexpr double kEnd = 8;

 private:
  static constexpr double kPerUnit = 256;
  std::array<double, static_cast<std::size_t>(2 * kEnd * kPerUnit) + 2> values_;
};

const NormalTable& Normal() {
  static const NormalTable table;
  return table;
}

// The rule beside BestOf for adding up assignments that end in the same pair: the logarithm of the sum of all.
struct SumOf {
  double value = kImpossible;
  static constexpr Index last = kNoPair;

  void Add(double other, Index /*pair*/) {
    if (other == kImpossible) return;
    if (value == kImpossible) {
      value = other;
      return;
    }
    const auto [small, large] = std::minmax(value, other);
    value = large + std::log1p(std::exp(small - large));
  }
};

// Dynamic programming over the pairs in order of the photos. A pair follows one of the previous photo, or, after a run of
// extra photos, one of an earlier photo, with or without a run of missed events between them.
template <class Sum>
class ForwardPass {
 public:
  ForwardPass(const PairBand& band, const Costs& costs, std::span<const Index> lostBefore)
      : band_(band), costs_(costs), lostBefore_(lostBefore), ending_(band.event.size()) {
    if (band.event.empty()) return;
    const auto [low, high] = std::minmax_element(band.event.begin(), band.event.end());
    base_ = closedEnd_ = *low;
    atEvent_.resize(*high - *low + 1);
    beforeEvent_.resize(atEvent_.size());
    for (Index photo = 0; photo + 1 < band.begin.size(); ++photo) Step(photo);
  }

  /// Per pair the sum over the assignments that end in it.
  const std::vector<Sum>& Ending() const { return ending_; }

 private:
  void Step(Index photo) {
    const Index first = band_.begin[photo], end = band_.begin[photo + 1];
    if (first == end) return;
    while (entered_ + 2 <= photo) Enter(entered_++);
    Close(band_.event[first]);
    for (Index pair = first; pair < end; ++pair) Reach(photo, pair);
  }

  // Makes the pairs of a photo predecessors across extra photos. Their costs per photo and per event are taken relative
  // to photo 0 and event 0, so that one sum serves every later pair.
  void Enter(Index photo) {
    for (Index pair = band_.begin[photo]; pair < band_.begin[photo + 1]; ++pair) {
      const Index event = band_.event[pair];
      const double value = ending_[pair].value + costs_.extraPhoto * photo;
      atEvent_[event - base_].Add(value, pair);
      beforeEvent_[event - base_].Add(value + costs_.missedEvent * event, pair);
      if (event < closedEnd_) closed_.Add(value + costs_.missedEvent * event, pair);
    }
  }

  // Bands only move up: what lies below the event before the lowest one at hand is summed up once.
  void Close(Index lowest) {
    for (; closedEnd_ + 1 < lowest; ++closedEnd_) {
      const Sum& sum = beforeEvent_[closedEnd_ - base_];
      closed_.Add(sum.value, sum.last);
    }
  }

  void Reach(Index photo, Index pair) {
    const Index event = band_.event[pair];
    Sum sum;
    sum.Add(-costs_.Missed(event) - costs_.Extra(photo), kNoPair);
    if (photo > 0) {
      const Index lost = lostBefore_.empty() ? 0 : lostBefore_[photo];
      for (Index before = band_.begin[photo - 1]; before < band_.begin[photo]; ++before) {
        if (band_.event[before] >= event) break;
        sum.Add(ending_[before].value - costs_.Missed(event - band_.event[before] - 1, lost), before);
      }
    }
    if (photo > 1 && event > base_) {
      const double extra = costs_.extraRun + costs_.extraPhoto * (photo - 1);
      const Sum& next = atEvent_[event - 1 - base_];
      sum.Add(next.value - extra, next.last);
      Sum earlier = closed_;
      for (Index other = closedEnd_; other + 2 <= event; ++other) {
        earlier.Add(beforeEvent_[other - base_].value, beforeEvent_[other - base_].last);
      }
      sum.Add(earlier.value - extra - costs_.missedRun - costs_.missedEvent * (event - 1), earlier.last);
    }
    sum.value += band_.gain[pair];
    ending_[pair] = sum;
  }

  const PairBand& band_;
  const Costs& costs_;
  std::span<const Index> lostBefore_;
  std::vector<Sum> ending_;
  std::vector<Sum> atEvent_;      // over photos already entered
  std::vector<Sum> beforeEvent_;  // the same, with the cost of missed events up to it taken off
  Sum closed_;                    // beforeEvent_ of all events below closedEnd_
  Index base_ = 0, closedEnd_ = 0;
  Index entered_ = 0;  // photos
};

// Time backwards: the last photo first, the last event first.
PairBand Reversed(const PairBand& band, Index events) {
  PairBand reversed;
  reversed.begin.push_back(0);
  for (std::size_t photo = band.begin.size() - 1; photo-- > 0;) {
    for (Index pair = band.begin[photo + 1]; pair-- > band.begin[photo];) {
      reversed.event.push_back(events - 1 - band.event[pair]);
      reversed.gain.push_back(band.gain[pair]);
    }
    reversed.begin.push_back(static_cast<Index>(reversed.event.size()));
  }
  return reversed;
}

std::vector<Index> Reversed(std::span<const Index> lostBefore) {
  std::vector<Index> reversed(lostBefore.size());
  for (std::size_t k = 1; k < reversed.size(); ++k) reversed[k] = lostBefore[lostBefore.size() - k];
  return reversed;
}

}  // namespace

PairGain::PairGain(const Sequences& sequences, double spread, double tolerance)
    : width_(sequences.cell.width),
      perSpread_(1 / spread),
      scale_((1 - kOutliers) / width_),
      floor_(kOutliers / (width_ + 2 * tolerance)),
      information_(sequences.pairInformation),
      inside_(std::log(scale_ + floor_) + information_) {}

double PairGain::operator()(double lead) const {
  const double begin = lead * perSpread_, end = (lead - width_) * perSpread_;
  if (begin >= NormalTable::kEnd && end <= -NormalTable::kEnd) return inside_;
  return std::log(scale_ * (Normal()(begin) - Normal()(end)) + floor_) + information_;
}

void Assigner::FindPairs(const Clock& clock, double tolerance) {
  const std::span<const double> events = sequences_.events;
  const StampCell cell = sequences_.cell;
  const PairGain gain(sequences_, clock.spread, tolerance);
  const Index eventCount = sequences_.EventCount();
  band_.begin.assign(1, 0);
  band_.event.clear();
  band_.gain.clear();
  const auto cameraTime = [&](double event) { return clock.At(event); };
  const double start = sequences_.stamps.empty() ? 0 : sequences_.stamps.front() + cell.begin - tolerance;
  Index low = static_cast<Index>(std::ranges::lower_bound(events, start, {}, cameraTime) - events.begin());
  for (const double stamp : sequences_.stamps) {
    const double cellBegin = stamp + cell.begin;
    while (low < eventCount && cameraTime(events[low]) < cellBegin - tolerance) ++low;
    for (Index event = low; event < std::min(eventCount, low + kMaxEventsPerPhoto); ++event) {
      const double lead = cameraTime(events[event]) - cellBegin;
      if (lead >= cell.width + tolerance) break;
      band_.event.push_back(event);
      band_.gain.push_back(gain(lead));
    }
    band_.begin.push_back(static_cast<Index>(band_.event.size()));
  }
}

double Assigner::Best(const Clock& clock, double tolerance, const Costs& costs, std::vector<Index>* eventOf) {
  FindPairs(clock, tolerance);
  const Index events = sequences_.EventCount(), photos = sequences_.PhotoCount();
  const ForwardPass<BestOf> forward(band_, costs, sequences_.lostBefore);
  const auto& ending = forward.Ending();
  BestOf best;
  best.Add(-costs.Missed(events) - costs.Extra(photos), kNoPair);
  for (Index photo = 0; photo < photos; ++photo) {
    for (Index pair = band_.begin[photo]; pair < band_.begin[photo + 1]; ++pair) {
      const double rest = costs.Missed(events - 1 - band_.event[pair]) + costs.Extra(photos - 1 - photo);
      best.Add(ending[pair].value - rest, pair);
    }
  }
  if (!eventOf) return best.value;
  eventOf->assign(photos, kNoEvent);
  Index photo = photos;
  for (Index pair = best.last; pair != kNoPair; pair = ending[pair].last) {
    while (band_.begin[photo] > pair) --photo;
    (*eventOf)[photo] = band_.event[pair];
  }
  return best.value;
}

PairProbabilities Assigner::Probabilities(const Clock& clock, const Costs& costs, std::span<const Index> eventOf) {
  FindPairs(clock, sequences_.Tolerance(clock.spread));
  const Index events = sequences_.EventCount(), photos = sequences_.PhotoCount();
  const Index pairs = static_cast<Index>(band_.event.size());
  const std::vector<Index> lostReversed = Reversed(sequences_.lostBefore);
  const PairBand reversed = Reversed(band_, events);
  const ForwardPass<SumOf> forward(band_, costs, sequences_.lostBefore), backward(reversed, costs, lostReversed);

  SumOf total;
  total.Add(-costs.Missed(events) - costs.Extra(photos), kNoPair);
  for (Index photo = 0; photo < photos; ++photo) {
    for (Index pair = band_.begin[photo]; pair < band_.begin[photo + 1]; ++pair) {
      const double rest = costs.Missed(events - 1 - band_.event[pair]) + costs.Extra(photos - 1 - photo);
      total.Add(forward.Ending()[pair].value - rest, pair);
    }
  }
  std::vector<double> probability(pairs), ofEvent(events);
  PairProbabilities result{std::vector<double>(photos), std::vector<double>(photos), std::vector<double>(photos)};
  for (Index photo = 0; photo < photos; ++photo) {
    for (Index pair = band_.begin[photo]; pair < band_.begin[photo + 1]; ++pair) {
      const double through =
          forward.Ending()[pair].value + backward.Ending()[pairs - 1 - pair].value - band_.gain[pair] - total.value;
      probability[pair] = std::exp(through);
      result.paired[photo] += probability[pair];
      ofEvent[band_.event[pair]] += probability[pair];
    }
  }
  constexpr double kNothing = 1e-300;  // keeps the ratios below defined
  for (Index photo = 0; photo < photos; ++photo) {
    for (Index pair = band_.begin[photo]; pair < band_.begin[photo + 1]; ++pair) {
      if (band_.event[pair] != eventOf[photo]) continue;
      result.amongEvents[photo] = probability[pair] / std::max(result.paired[photo], kNothing);
      result.amongPhotos[photo] = probability[pair] / std::max(ofEvent[band_.event[pair]], kNothing);
    }
  }
  return result;
}

std::vector<double> Assigner::Gains(const Clock& clock, std::span<const Index> eventOf) const {
  const PairGain gain(sequences_, clock.spread, sequences_.Tolerance(clock.spread));
  std::vector<double> gains(eventOf.size());
  for (std::size_t photo = 0; photo < eventOf.size(); ++photo) {
    if (eventOf[photo] == kNoEvent) continue;
    const double cellBegin = sequences_.stamps[photo] + sequences_.cell.begin;
    gains[photo] = gain(clock.At(sequences_.events[eventOf[photo]]) - cellBegin);
  }
  return gains;
}

}  // namespace kv::clocks
