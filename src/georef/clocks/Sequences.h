#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>
#include <utility>
#include <vector>

#include "georef/clocks/StampCell.h"

/// The estimation of a camera's clock from two sequences: events in master time, photos in camera time.
namespace kv::clocks {

/// Counts photos, events and pairs. Differences are taken only where they cannot be negative.
using Index = std::uint32_t;

/// a - b, or 0 where that is negative.
constexpr Index Below(Index a, Index b) { return a > b ? a - b : 0; }

/// The upper one of two middle values. Not for empty ranges.
inline double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Stamps at least this wide bound a clock by intervals; finer ones are averaged. Seconds.
constexpr double kCoarseCell = 0.2;
/// Largest drift considered, and the standard deviation of the prior around zero: quartz clocks stay below 100 ppm.
constexpr double kMaxDrift = 200e-6, kDriftSigma = 60e-6;

/// A camera's clock: at master time t, counted from the middle of the events, it shows t + offset + drift * t.
struct Clock {
  double offset = 0;  ///< seconds
  double drift = 0;   ///< seconds per second
  double spread = 0;  ///< standard deviation of an exposure about the clock, seconds

  double At(double event) const { return event + offset + drift * event; }
};

/// Events and photos to be paired. A view: what it is made of must outlive it.
class Sequences {
 public:
  /// @param eventTimes   ascending, counted from the middle of the first and the last one
  /// @param photoStamps  ascending within a run
  /// @param numbersLost  per photo, how many photo numbers are missing before it; empty when numbers are not known
  Sequences(std::span<const double> eventTimes, std::span<const double> photoStamps, std::span<const Index> numbersLost,
            StampCell stampCell)
      : events(eventTimes),
        stamps(photoStamps),
        lostBefore(numbersLost),
        cell(stampCell),
        pairInformation(PairInformation()) {}

  /// The photos [first, end) with all events.
  Sequences Part(Index first, Index end) const {
    return {events, stamps.subspan(first, end - first),
            lostBefore.empty() ? lostBefore : lostBefore.subspan(first, end - first), cell};
  }

  Index EventCount() const { return static_cast<Index>(events.size()); }
  Index PhotoCount() const { return static_cast<Index>(stamps.size()); }
  bool IsCoarse() const { return cell.width >= kCoarseCell; }
  /// Of the intervals between events. Seconds.
  double MedianInterval() const {
    std::vector<double> intervals;
    for (std::size_t i = 1; i < events.size(); ++i) intervals.push_back(events[i] - events[i - 1]);
    return intervals.empty() ? 1 : Median(std::move(intervals));
  }
  double EventSpan() const { return events.back() - events.front(); }
  /// How far a clock with this spread reaches beyond a stamp's cell. Seconds.
  double Tolerance(double spread) const {
    return IsCoarse() ? 4 * spread + 0.02 : std::max(4 * spread, 2 * cell.width);
  }
  /// Master time to camera time as a plain difference, taken at the middle of the cell.
  double CellMiddle(double stamp) const { return stamp + cell.begin + cell.width / 2; }

  std::span<const double> events, stamps;
  std::span<const Index> lostBefore;
  StampCell cell;
  /// Added to the log density of a pair; makes of it the nats that a photo in the right cell is worth.
  double pairInformation;

 private:
  // A chance photo meets a cell the more easily, the more photos a cell holds: what a pair is worth follows from the
  // mean spacing of the photos, pauses (the widest 5 %) left out.
  double PairInformation() const {
    std::vector<double> sorted(stamps.begin(), stamps.end()), gaps;
    std::sort(sorted.begin(), sorted.end());
    for (std::size_t k = 1; k < sorted.size(); ++k) gaps.push_back(sorted[k] - sorted[k - 1]);
    std::sort(gaps.begin(), gaps.end());
    const std::size_t used =
        std::max<std::size_t>(1, static_cast<std::size_t>(0.95 * static_cast<double>(gaps.size())));
    double sum = gaps.empty() ? 1.0 : 0.0;
    for (std::size_t k = 0; k < std::min(used, gaps.size()); ++k) sum += gaps[k];
    const double spacing = std::clamp(sum / static_cast<double>(used), 0.05, 60.0);
    const double perCell = cell.width / spacing;  // photos
    if (perCell <= 1) return std::log(cell.width) - std::log(perCell) + 1;
    // -log of the probability of so many photos in a cell, shared among them, with Stirling's series for the factorial
    const double x = perCell;
    return std::log(cell.width) + (0.5 * std::log(2 * std::numbers::pi * x) + 1 / (12 * x) - 1 / (360 * x * x * x)) / x;
  }
};

}  // namespace kv::clocks
