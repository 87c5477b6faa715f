#include "georef/clocks/ClockDecision.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace kv::clocks {
namespace {

// Probabilities that make a pair certain by itself, and the lower ones for what two ways of counting agree on.
constexpr double kCertain = 0.995, kLikely = 0.99, kPaired = 0.5, kPairedFine = 0.98;
// A pair counts only between two photos that surely have events, at most so many photos apart.
constexpr double kAnchor = 0.95;
constexpr Index kAnchorDistance = 13;
// A photo that only one of two clocks pairs tells at most this much between them, however fine its stamp. Nats.
constexpr double kMostOfOnePhoto = 2.5;
// Evidence over chance that a mission's own photos reach, and the share of photos and events that must be paired.
constexpr double kCoarseEvidence = 20, kFineEvidence = 40, kLeastCoverage = 0.5;
// Share of the pairs that must be certain.
constexpr double kLeastCertain = 0.2;
// Above this probability of having an event a photo is not said to have none.
constexpr double kUnpaired = 0.02;

bool Any(const PhotoFlags& flags) {
  return std::ranges::any_of(flags, [](char flag) { return flag; });
}

void Merge(PhotoFlags& into, const PhotoFlags& from) {
  for (std::size_t k = 0; k < into.size(); ++k) into[k] = into[k] || from[k];
}

// What the events and photos without partner cost an assignment.
double RunCosts(const Sequences& sequences, const Pairing& pairing) {
  const std::size_t pairs = pairing.photos.size();
  double costs = 0;
  Index nextPhoto = 0, nextEvent = 0;  // behind the pair before
  for (std::size_t j = 0; j <= pairs; ++j) {
    const Index photo = j == pairs ? sequences.PhotoCount() : pairing.photos[j];
    const Index event = j == pairs ? sequences.EventCount() : pairing.events[j];
    const bool isInside = j > 0 && j < pairs && photo == nextPhoto;
    const Index lost = isInside && !sequences.lostBefore.empty() ? sequences.lostBefore[photo] : 0;
    costs += kSearchCosts.Missed(event - nextEvent, lost) + kSearchCosts.Extra(photo - nextPhoto);
    nextPhoto = photo + 1;
    nextEvent = event + 1;
  }
  return costs;
}

class Judge {
 public:
  Judge(ClockSearch& search, const std::vector<Hypothesis>& hypotheses, const ChangeDoubts* doubts)
      : search_(search),
        sequences_(search.Of()),
        hypotheses_(hypotheses),
        doubts_(doubts),
        best_(hypotheses.front()),
        clock_(ForPairing(sequences_, best_.clock)),
        eventOf_(search.Pair(clock_)),
        standing_(search.Assignments().Probabilities(clock_, kPairingCosts, eventOf_)) {}

  Decision Result() {
    Decision decision;
    PhotoFlags certain = CertainByThemselves();
    CompareRivals(decision.rivals);
    const PhotoFlags shaky = ChangedByNearClocks();
    if (sequences_.IsCoarse()) DropChanceHits(certain);
    decision.certain.resize(certain.size());
    decision.probability.resize(certain.size());
    for (std::size_t k = 0; k < certain.size(); ++k) {
      decision.certain[k] = certain[k] && !shaky[k] && !contradicted_[k];
    }
    decision.withoutEvent = InClosedGaps(decision.certain);
    for (std::size_t k = 0; k < certain.size(); ++k) {
      decision.withoutEvent[k] = decision.withoutEvent[k] && standing_.paired[k] < kUnpaired && !pairedElsewhere_[k];
      decision.probability[k] = standing_.amongEvents[k] * standing_.paired[k] / (1 + rivalOdds_[k]);
    }
    decision.best = best_;
    decision.eventOf = eventOf_;
    decision.paired = standing_.paired;
    decision.evidence = Evidence();
    decision.verdict = Verdict(decision.evidence);
    // A clock that leaves nearly every photo uncertain is not found.
    const auto certainCount = static_cast<double>(std::ranges::count_if(decision.certain, [](char c) { return c; }));
    if (decision.verdict == ClockVerdict::Resolved && certainCount < kLeastCertain * best_.PairCount()) {
      decision.verdict = ClockVerdict::Ambiguous;
    }
    return decision;
  }

 private:
  PhotoFlags CertainByThemselves() {
    const PairProbabilities inRuns = search_.Assignments().Probabilities(clock_, kSearchCosts, best_.eventOf);
    const auto isAtLeast = [](const PairProbabilities& p, std::size_t k, double least) {
      return p.amongEvents[k] >= least && p.amongPhotos[k] >= least;
    };
    const PhotoFlags anchored = Anchored(inRuns);
    PhotoFlags certain(eventOf_.size());
    for (std::size_t k = 0; k < certain.size(); ++k) {
      if (eventOf_[k] == kNoEvent) continue;
      const bool alone = isAtLeast(standing_, k, kCertain) && standing_.paired[k] >= kPaired;
      const bool inRun = best_.eventOf[k] == eventOf_[k] && isAtLeast(inRuns, k, kCertain) &&
                         inRuns.paired[k] >= kPaired && isAtLeast(standing_, k, kLikely);
      const bool finely = sequences_.IsCoarse() || standing_.paired[k] >= kPairedFine;
      certain[k] = (alone || inRun) && finely && anchored[k];
    }
    return certain;
  }

  PhotoFlags Anchored(const PairProbabilities& inRuns) const {
    PhotoFlags anchored(eventOf_.size());
    std::optional<Index> last;
    for (Index k = 0; k < anchored.size(); ++k) {
      if (best_.eventOf[k] == kNoEvent || inRuns.paired[k] < kAnchor) continue;
      anchored[k] = true;
      if (last && k - *last <= kAnchorDistance) std::fill(anchored.begin() + *last, anchored.begin() + k, char{1});
      last = k;
    }
    return anchored;
  }

  // Which photos do clocks about as good pair otherwise?
  void CompareRivals(std::vector<ClockRival>& rivals) {
    const double enough = EnoughMargin(sequences_);
    contradicted_.resize(eventOf_.size());
    pairedElsewhere_.resize(eventOf_.size());
    rivalOdds_.resize(eventOf_.size());
    if (doubts_) {
      contradicted_ = doubts_->contradicted;
      pairedElsewhere_ = doubts_->pairedElsewhere;
    }
    for (std::size_t j = 1; j < hypotheses_.size(); ++j) {
      const Hypothesis& rival = hypotheses_[j];
      PhotoFlags conflicts = Contradicted(best_.eventOf, rival.eventOf, sequences_.EventCount());
      if (!Any(conflicts)) continue;
      const double margin = Margin(search_, best_, rival);
      if (margin >= enough) continue;
      const std::vector<Index> pairing = search_.Pair(rival.clock);
      Merge(conflicts, Contradicted(eventOf_, pairing, sequences_.EventCount()));
      Merge(contradicted_, conflicts);
      for (std::size_t k = 0; k < conflicts.size(); ++k) {
        if (conflicts[k]) rivalOdds_[k] += std::exp(-std::max(0.0, margin));
        if (pairing[k] != kNoEvent) pairedElsewhere_[k] = true;
      }
      rivals.push_back({rival.clock.offset, margin});
    }
    std::ranges::stable_sort(rivals, {}, &ClockRival::margin);
  }

  // Whole seconds leave the clock open by some milliseconds: pairs that change for another offset or drift about as
  // likely as the best.
  PhotoFlags ChangedByNearClocks() {
    PhotoFlags changed(eventOf_.size());
    if (!sequences_.IsCoarse()) return changed;
    constexpr double kSigmas = 5, kNear = 8, kVeryNear = 5;  // nats behind the best of the grid
    const bool isBig = sequences_.PhotoCount() > 3000;
    const double offsetReach = std::clamp(kSigmas * best_.offsetSigma, 0.06, 0.9);
    const double driftReach = std::min(150e-6, kSigmas * best_.driftSigma);
    Grid grid{clock_.offset, 0, isBig ? 5u : 13u, clock_.drift};
    grid.offsetStep = 2 * offsetReach / (grid.offsets - 1);
    if (driftReach * std::max(1.0, 0.5 * sequences_.EventSpan()) > 0.02) {
      grid.drifts = isBig ? 3 : 5;
      grid.driftStep = 2 * driftReach / (grid.drifts - 1);
    }
    std::vector<double> scores = search_.Scores(grid, kLeastCoarseSpread);
    for (Index at = 0; at < scores.size(); ++at) scores[at] -= DriftCost(grid.Drift(at / grid.offsets));
    const double best = std::ranges::max(scores);
    for (Index at = 0; at < scores.size(); ++at) {
      if (scores[at] < best - kNear) continue;
      const std::vector<Index> pairing =
          search_.Pair({grid.Offset(at % grid.offsets), grid.Drift(at / grid.offsets), kLeastCoarseSpread});
      Merge(changed, Contradicted(eventOf_, pairing, sequences_.EventCount()));
      if (scores[at] < best - kVeryNear) continue;
      for (std::size_t k = 0; k < changed.size(); ++k) {
        if (eventOf_[k] != kNoEvent && pairing[k] == kNoEvent) changed[k] = true;
      }
    }
    return changed;
  }

  // An event outside its photo's second, next to a fault, may be there by chance.
  void DropChanceHits(PhotoFlags& certain) const {
    constexpr double kOutside = 0.01;  // seconds
    constexpr Index kNeighbours = 3;   // pairs to either side that must follow each other
    const Pairing pairing = PairingOf(eventOf_);
    const Index pairs = static_cast<Index>(pairing.photos.size());
    for (Index j = 0; j < pairs; ++j) {
      const Index photo = pairing.photos[j];
      const double lead =
          clock_.At(sequences_.events[pairing.events[j]]) - sequences_.stamps[photo] - sequences_.cell.begin;
      if (lead >= -kOutside && lead <= sequences_.cell.width + kOutside) continue;
      const Index first = Below(j, kNeighbours), last = std::min(pairs - 1, j + kNeighbours);
      const bool isInRun = last - first == 2 * kNeighbours &&
                           pairing.photos[last] - pairing.photos[first] == 2 * kNeighbours &&
                           pairing.events[last] - pairing.events[first] == 2 * kNeighbours;
      if (!isInRun) certain[photo] = false;
    }
  }

  // Photos between two certain pairs whose events follow each other: no event is left for them.
  PhotoFlags InClosedGaps(const PhotoFlags& certain) const {
    PhotoFlags inGap(eventOf_.size());
    const Pairing pairing = PairingOf(eventOf_);
    Index nextPhoto = 0, nextEvent = 0;  // behind the pair before
    bool begins = true;                  // by a certain pair, or by the first photo
    for (std::size_t j = 0; j <= pairing.photos.size(); ++j) {
      const bool isLast = j == pairing.photos.size();
      const Index photo = isLast ? sequences_.PhotoCount() : pairing.photos[j];
      const Index event = isLast ? sequences_.EventCount() : pairing.events[j];
      const bool ends = isLast || certain[photo];
      if (event == nextEvent && begins && ends) std::fill(inGap.begin() + nextPhoto, inGap.begin() + photo, char{1});
      nextPhoto = photo + 1;
      nextEvent = event + 1;
      begins = ends;
    }
    return inGap;
  }

  // Nats over no clock at all, after the price of having chosen among all offsets.
  double Evidence() const {
    const double nothing = -kSearchCosts.Missed(sequences_.EventCount()) - kSearchCosts.Extra(sequences_.PhotoCount());
    const auto [low, high] = std::ranges::minmax(sequences_.stamps);
    const double offsets = (sequences_.EventSpan() + high - low) / std::max(sequences_.cell.width / 4, 0.02);
    return best_.score - nothing - std::log(std::max(10.0, offsets));
  }

  ClockVerdict Verdict(double evidence) const {
    const Pairing pairing = PairingOf(best_.eventOf);
    const Index pairs = static_cast<Index>(pairing.photos.size());
    if (pairs < 3) return ClockVerdict::NoMatch;
    const Index among =
        std::max(pairing.photos.back() - pairing.photos.front(), pairing.events.back() - pairing.events.front());
    const bool isCovered = pairs >= kLeastCoverage * (among + 1);
    if (!isCovered || evidence < (sequences_.IsCoarse() ? kCoarseEvidence : kFineEvidence))
      return ClockVerdict::NoMatch;
    const auto contradicted = std::ranges::count_if(pairing.photos, [&](Index photo) { return contradicted_[photo]; });
    return static_cast<double>(contradicted) > 0.5 * pairs ? ClockVerdict::Ambiguous : ClockVerdict::Resolved;
  }

  ClockSearch& search_;
  const Sequences& sequences_;
  const std::vector<Hypothesis>& hypotheses_;
  const ChangeDoubts* doubts_;
  const Hypothesis& best_;
  Clock clock_;
  std::vector<Index> eventOf_;
  PairProbabilities standing_;  // under kPairingCosts
  PhotoFlags contradicted_, pairedElsewhere_;
  std::vector<double> rivalOdds_;  // sum of the odds of the rivals that contradict a photo
};

}  // namespace

Decision Decide(ClockSearch& search, const std::vector<Hypothesis>& hypotheses, const ChangeDoubts* doubts) {
  return Judge(search, hypotheses, doubts).Result();
}

double Margin(ClockSearch& search, const Hypothesis& best, const Hypothesis& rival) {
  const Sequences& sequences = search.Of();
  const std::vector<double> bestGains = search.Assignments().Gains(best.clock, best.eventOf);
  const std::vector<double> gains = search.Assignments().Gains(rival.clock, rival.eventOf);
  double margin = RunCosts(sequences, PairingOf(rival.eventOf)) - RunCosts(sequences, PairingOf(best.eventOf));
  for (std::size_t k = 0; k < gains.size(); ++k) {
    const bool byBest = best.eventOf[k] != kNoEvent, byRival = rival.eventOf[k] != kNoEvent;
    if (byBest && byRival) margin += bestGains[k] - gains[k];
    if (byBest && !byRival) margin += std::min(bestGains[k], kMostOfOnePhoto);
    if (!byBest && byRival) margin -= std::min(gains[k], kMostOfOnePhoto);
  }
  return margin;
}

PhotoFlags Contradicted(const std::vector<Index>& eventOf, const std::vector<Index>& other, Index events) {
  PhotoFlags isTaken(events), conflicts(eventOf.size());
  for (const Index event : other) {
    if (event != kNoEvent) isTaken[event] = true;
  }
  for (std::size_t k = 0; k < eventOf.size(); ++k) {
    if (eventOf[k] == kNoEvent) continue;
    conflicts[k] = other[k] == kNoEvent ? isTaken[eventOf[k]] : other[k] != eventOf[k];
  }
  return conflicts;
}

Clock ForPairing(const Sequences& sequences, Clock clock) {
  if (sequences.IsCoarse()) clock.spread = std::max(clock.spread, kLeastCoarseSpread);
  return clock;
}

}  // namespace kv::clocks
