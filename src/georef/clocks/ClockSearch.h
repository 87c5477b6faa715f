#pragma once

#include <limits>
#include <optional>
#include <vector>

#include "georef/clocks/Assignment.h"
#include "georef/clocks/Sequences.h"

namespace kv::clocks {

/// A clock that the data may have, with the best assignment under it.
struct Hypothesis {
  Clock clock;
  double score = -std::numeric_limits<double>::infinity();  ///< nats
  double offsetSigma = 0, driftSigma = 0;                   ///< of the fit
  std::vector<Index> eventOf;                               ///< per photo

  Index PairCount() const;
};

/// Photos and their events, of the photos that have one.
struct Pairing {
  std::vector<Index> photos, events;
};
Pairing PairingOf(const std::vector<Index>& eventOf);

/// Offsets that are possible, known from elsewhere: centre and half width, seconds.
struct Window {
  double centre, reach;
};

/// Scores of clocks on a grid of offsets and drifts.
struct Grid {
  double middleOffset, offsetStep;
  Index offsets;
  double middleDrift = 0, driftStep = 0;
  Index drifts = 1;

  double Offset(Index i) const { return middleOffset + offsetStep * (i - (offsets - 1) / 2.0); }
  double Drift(Index j) const { return middleDrift + driftStep * (j - (drifts - 1) / 2.0); }
};

/// Judges and improves clocks for one pair of sequences.
class ClockSearch {
 public:
  explicit ClockSearch(const Sequences& sequences, std::optional<Window> window)
      : sequences_(sequences), assigner_(sequences), window_(window) {}

  /// Every clock worth judging, the best first; from the votes of all pairs, the neighbours of the best one, and, for
  /// wide stamps, a grid around it. `further` are clocks proposed from elsewhere.
  std::vector<Hypothesis> Find(const std::vector<Clock>& further = {});

  /// Clocks from the votes alone.
  /// @param most  candidates judged
  std::vector<Hypothesis> FromVotes(std::size_t most);

  /// The best clock in the window, by a raster over it; without one there is nothing to look for.
  Hypothesis BestInWindow();

  /// A given clock, not fitted.
  Hypothesis Judge(const Clock& clock);

  /// For wide stamps: all clocks near the best ones that are about as good, on a grid, then fitted.
  /// @param most  how many of the best are looked around
  std::vector<Hypothesis> WithSurroundings(std::vector<Hypothesis> hypotheses, std::size_t most);

  /// The offset of a clock after which most photos of an assignment have an event some places later or earlier; nothing
  /// if that leaves fewer than `least` pairs.
  /// @param eventOf  any part of an assignment
  std::optional<double> ShiftedOffset(double offset, std::span<const Index> eventOf, int shift,
                                      std::size_t least) const;

  /// Fits offset, drift and spread to the assignment until it stands still.
  /// @param reach  how far off the clock may be, seconds
  Hypothesis Refine(const Clock& clock, double reach);

  /// Chain scores, drift by drift.
  std::vector<double> Scores(const Grid& grid, double spread);

  /// The pairing by a known clock, in which each pair stands on its own.
  std::vector<Index> Pair(const Clock& clock);

  const Sequences& Of() const { return sequences_; }
  Assigner& Assignments() { return assigner_; }
  /// How far off a proposed clock may be for `Refine`. Seconds.
  double UsualReach() const { return sequences_.IsCoarse() ? 0.3 : 0.4; }

 private:
  bool IsLong() const;
  std::vector<Hypothesis> FromSlices(const std::vector<double>& offsets);
  Hypothesis GrownFrom(Index middle, Hypothesis hypothesis);
  double BestNearby(double offset);
  std::vector<Hypothesis> WithNeighbours(std::vector<Hypothesis> hypotheses);
  void AddExactShifts(std::vector<Hypothesis>& hypotheses);
  void AddSurroundings(const Hypothesis& centre, std::vector<Hypothesis>& found);
  Hypothesis RefineCoarse(Clock clock, double reach);
  Hypothesis RefineFine(const Clock& clock, double reach);
  Hypothesis At(double offset, double drift);
  Hypothesis InWindow(Hypothesis hypothesis);

  const Sequences& sequences_;
  Assigner assigner_;
  std::optional<Window> window_;
};

/// Sorts by score and drops repetitions.
void KeepDistinct(std::vector<Hypothesis>& hypotheses);

/// What the prior holds against a drift, in nats.
inline double DriftCost(double drift) { return 0.5 * drift * drift / (kDriftSigma * kDriftSigma); }

}  // namespace kv::clocks
