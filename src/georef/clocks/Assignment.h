#pragma once

#include <limits>
#include <span>
#include <vector>

#include "georef/clocks/Sequences.h"

namespace kv::clocks {

/// No event: of a photo without a pair.
constexpr Index kNoEvent = std::numeric_limits<Index>::max();
/// No pair: before the first one.
constexpr Index kNoPair = std::numeric_limits<Index>::max();
constexpr double kImpossible = -std::numeric_limits<double>::infinity();

/// The best of several assignments that end alike, with the pair it ends in.
struct BestOf {
  double value = kImpossible;
  Index last = kNoPair;

  void Add(double other, Index pair) {
    if (other > value) {
      value = other;
      last = pair;
    }
  }
};

/// Events looked at per photo: bounds the work where events are closer than 50 ms.
constexpr Index kMaxEventsPerPhoto = 32;

/// What events and photos without partner cost, in nats: a run of them costs a sum once and another for each.
struct Costs {
  double missedRun, missedEvent, extraRun, extraPhoto;

  /// A run of events without photo.
  double Missed(Index count) const { return count > 0 ? missedRun + missedEvent * count : 0; }
  /// A run of photos without event.
  double Extra(Index count) const { return count > 0 ? extraRun + extraPhoto * count : 0; }
  /// A run of events without photo where the photo numbers say that so many photos were lost.
  double Missed(Index count, Index lost) const {
    if (lost <= 0) return Missed(count);
    return kToldRun + (count <= lost ? kUnusedNumber * (lost - count) : Missed(count - lost));
  }

  static constexpr double kToldRun = 0.3;       // numbers foretold the run: it costs next to nothing
  static constexpr double kUnusedNumber = 0.5;  // a number without photo and without event
};

/// For finding a clock: faults come in runs (a lost block, test shots), so a run costs much and each further item little.
constexpr Costs kSearchCosts{4.4, 0.36, 5.3, 0.2};
/// For pairing by a known clock: each item costs alike, so that a pair stands on its own and not on its run.
constexpr Costs kPairingCosts{0, 3.5, 0, 4.0};

/// What a pair is worth in nats: the density of the event's camera time in the cell of the stamp, blurred by the clock's
/// spread, over a small floor for outliers.
class PairGain {
 public:
  PairGain(const Sequences& sequences, double spread, double tolerance);

  /// @param lead  camera time of the event minus the begin of the stamp's cell
  double operator()(double lead) const;

 private:
  double width_, perSpread_, scale_, floor_, information_, inside_;
};

/// The pairs that a clock allows: for each photo the events near its cell, ascending.
struct PairBand {
  std::vector<Index> begin;  // per photo the first of its pairs; one more for the end
  std::vector<Index> event;
  std::vector<double> gain;
};

/// How probable the pairs of an assignment are, photo by photo; 0 where a photo has no pair.
struct PairProbabilities {
  std::vector<double> amongEvents;  // of this pair among all pairs of the photo
  std::vector<double> amongPhotos;  // of this pair among all pairs of the event
  std::vector<double> paired;       // that the photo has an event at all
};

/// Pairs photos with events one to one and in order of time, for given clocks. Keeps its working memory between calls.
class Assigner {
 public:
  explicit Assigner(const Sequences& sequences) : sequences_(sequences) {}

  /// The best assignment.
  /// @param eventOf  per photo its event or kNoEvent; may be null
  /// @return         its score in nats
  double Best(const Clock& clock, double tolerance, const Costs& costs, std::vector<Index>* eventOf);

  /// Forward-backward over all assignments.
  PairProbabilities Probabilities(const Clock& clock, const Costs& costs, std::span<const Index> eventOf);

  /// The gain of each pair of an assignment; 0 for photos without pair.
  std::vector<double> Gains(const Clock& clock, std::span<const Index> eventOf) const;

 private:
  void FindPairs(const Clock& clock, double tolerance);

  const Sequences& sequences_;
  PairBand band_;
};

}  // namespace kv::clocks
