#pragma once

#include <vector>

#include "georef/clocks/CameraClock.h"
#include "georef/clocks/ClockSearch.h"

namespace kv::clocks {

/// Nats by which a clock must beat each rival that contradicts a pair. Fine stamps ask for more: a camera's jitter is less
/// normal than their likelihood assumes.
constexpr double kCoarseMargin = 15, kFineMargin = 25;

/// One flag per photo.
using PhotoFlags = std::vector<char>;

/// What a possible change of the clock says against the pairs of the best single one.
struct ChangeDoubts {
  PhotoFlags contradicted;     // paired otherwise
  PhotoFlags pairedElsewhere;  // has an event under some division
};

/// What is known of the photos of a stretch under their best clock.
struct Decision {
  ClockVerdict verdict = ClockVerdict::NoMatch;
  Hypothesis best;                  // as the search found it
  std::vector<Index> eventOf;       // each pair standing on its own
  std::vector<double> paired;       // probability that a photo has an event
  std::vector<double> probability;  // of each photo's pair
  PhotoFlags certain, withoutEvent;
  std::vector<ClockRival> rivals;
  double evidence = 0;  // nats over chance
};

/// @param hypotheses  the best first, not empty
/// @param doubts      may be null
Decision Decide(ClockSearch& search, const std::vector<Hypothesis>& hypotheses, const ChangeDoubts* doubts);

/// Log-likelihood ratio of two clocks, each under its assignment, in nats. A photo that only one of them pairs counts little,
/// however fine its stamp.
double Margin(ClockSearch& search, const Hypothesis& best, const Hypothesis& rival);

/// The margin that leaves a rival out.
inline double EnoughMargin(const Sequences& sequences) { return sequences.IsCoarse() ? kCoarseMargin : kFineMargin; }

/// Photos that one assignment pairs and another contradicts: by another event, or by giving their event to another photo.
PhotoFlags Contradicted(const std::vector<Index>& eventOf, const std::vector<Index>& other, Index events);

/// An offset's own spread for pairing: cameras that stamp whole seconds are never sharper than this. Seconds.
constexpr double kLeastCoarseSpread = 0.03;
Clock ForPairing(const Sequences& sequences, Clock clock);

}  // namespace kv::clocks
