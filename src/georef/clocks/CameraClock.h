#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "georef/clocks/StampCell.h"

/// The clock of a camera, found from two sequences of times: events of the master clock, photos stamped by the camera.
namespace kv {

enum class ClockVerdict {
  Resolved,   ///< one clock explains the photos; contradicted nowhere or only for some photos
  Partial,    ///< of several clocks some are resolved
  Ambiguous,  ///< other clocks explain most photos about as well
  NoMatch     ///< the photos and the events have too little in common
};

/// Another clock that the data allow.
struct ClockRival {
  double offsetSeconds;
  double margin;  ///< nats by which it is worse than the best
};

/// A stretch of photos taken under one clock.
struct ClockSegment {
  std::size_t firstPhoto, endPhoto;  ///< in order of time within the runs of stamps that do not jump back
  ClockVerdict verdict;
  double offsetSeconds, offsetSigma;  ///< camera minus master time at the reference time
  double drift;                       ///< seconds per second; positive for a camera that gains
  double referenceTime;               ///< the middle of the events
  double spread;                      ///< standard deviation of an exposure about the clock, seconds
  std::vector<ClockRival> rivals;     ///< the best first
};

struct PhotoMatch {
  std::optional<std::size_t> event;
  double probability = 0;  ///< of this pair
  bool certain = false;    ///< safe to use: no clock that the data allow pairs the photo otherwise
};

struct ClockEstimate {
  ClockVerdict verdict = ClockVerdict::NoMatch;
  std::vector<PhotoMatch> photos;
  std::vector<bool> withoutEvent;  ///< per photo: certainly taken at no event
  std::vector<ClockSegment> clocks;
};

/// Offsets that are possible, known from elsewhere, such as the other camera's clock.
struct OffsetWindow {
  double centreSeconds, reachSeconds;
};

struct ClockOptions {
  std::optional<OffsetWindow> window;
  /// One per photo: missing numbers tell of photos lost after the exposure. Empty when numbers are not known.
  std::span<const std::int64_t> photoNumbers;
};

/// Finds the clock, or the clocks where it was set during the mission, and pairs photos with events one to one and in
/// order of time.
/// @param eventSeconds  master time; meant to be ascending
/// @param stampSeconds  camera time, any epoch, in file order; where stamps jump back, the clock was set
/// @return              times that are not finite, or further than 1e11 s from 0, stay without partner
ClockEstimate EstimateClock(std::span<const double> eventSeconds, std::span<const double> stampSeconds, StampCell cell,
                            const ClockOptions& options = {});

/// Pairs by a known clock, one to one and in order of time: the best assignment and how probable each pair is.
/// @param offsetSeconds     camera minus master time; no drift
/// @param toleranceSeconds  how far the clock may be off
std::vector<PhotoMatch> PairByClock(std::span<const double> eventSeconds, std::span<const double> stampSeconds,
                                    StampCell cell, double offsetSeconds, double toleranceSeconds);

/// How an offset in use compares with an estimate.
struct OffsetCheck {
  bool isAllowed;           ///< the data do not exclude it: it pairs as the best clock or as a rival does
  std::size_t photosMoved;  ///< photos that the best clock pairs with another event
  double scoreDifference;   ///< nats by which the best clock is better
};

/// Is an offset, the one in use, one of the clocks that the data allow?
/// @param estimate          of these events and stamps
/// @param toleranceSeconds  how far the clock may be off
OffsetCheck CheckOffset(const ClockEstimate& estimate, std::span<const double> eventSeconds,
                        std::span<const double> stampSeconds, StampCell cell, double offsetSeconds,
                        double toleranceSeconds);

}  // namespace kv
