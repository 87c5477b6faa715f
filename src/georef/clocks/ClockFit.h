#pragma once

#include <optional>
#include <span>

#include "georef/clocks/Sequences.h"

namespace kv::clocks {

/// A photo and its event.
struct TimePair {
  double event;  ///< master time
  double begin;  ///< begin of the stamp's cell, camera time
};

struct ClockFit {
  Clock clock;
  double offsetSigma = 0, driftSigma = 0;
};

/// The clock that puts the events into the cells of wide stamps: the mean over all clocks that do, and, where none does,
/// over those that miss the cells least.
/// @param outside  standard deviation of an event outside its cell, seconds; becomes the clock's spread
/// @param drift    about the right one, for missions so long that it can be off only by little
ClockFit FitCells(std::span<const TimePair> pairs, double width, double outside, double drift);

/// The clock through fine stamps: least squares of offset and drift, outliers weighted down.
/// @param spread  to begin with; the clock's own is estimated
ClockFit FitLine(std::span<const TimePair> pairs, double width, double spread);

/// The clock within `reach` seconds of another that most pairs of events and fine stamps agree on.
Clock VoteAround(const Sequences& sequences, const Clock& clock, double reach);

}  // namespace kv::clocks
