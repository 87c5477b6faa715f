#pragma once

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

/// What a ratio must reach. A case that should be fast shows the peer's figure divided by ours, one with a budget ours
/// divided by the peer's.
struct Goal {
  double value;
  bool isUpperBound;

  double RatioOf(double peer, double ours) const { return isUpperBound ? ours / peer : peer / ours; }
  bool IsReachedBy(double ratio) const { return isUpperBound ? ratio <= value : ratio >= value; }
};
/// Ours is so many times as fast, or takes so many times less memory.
constexpr Goal AtLeast(double times) { return {times, false}; }
/// Ours takes at most so many times what the peer takes.
constexpr Goal AtMost(double times) { return {times, true}; }
/// Shown for comparison.
constexpr Goal kNoGoal = {0, false};

struct Quartiles {
  double lower, median, upper;
};

/// Quartiles at (n + 1) / 4, (n + 1) / 2 and 3 (n + 1) / 4 of the sorted values, interpolated: those of three values are
/// the values themselves. Fewer than three have none.
inline std::optional<Quartiles> QuartilesOf(std::vector<double> values) {
  if (values.size() < 3) return std::nullopt;
  std::sort(values.begin(), values.end());
  const auto at = [&](int quarter) {
    const double place = static_cast<double>(values.size() + 1) * quarter / 4 - 1;
    const double low = values[static_cast<std::size_t>(place)];
    const double high = values[std::min(static_cast<std::size_t>(place) + 1, values.size() - 1)];
    return low + (high - low) * (place - std::floor(place));
  };
  return Quartiles{at(1), at(2), at(3)};
}

enum class Verdict {
  Met,
  NotMet,
  Noisy,  ///< does not tell: the goal lies between the quartiles, or there are none
  Failed,
  None,    ///< there is no goal
  Skipped  ///< cannot be measured on this machine
};

/// A goal is met if even the worse quartile reaches it, and is not met if even the better one does not.
inline Verdict Judge(const std::optional<Quartiles>& ratios, const Goal& goal) {
  if (goal.value == 0) return Verdict::None;
  if (!ratios) return Verdict::Noisy;
  const bool isLowerEnough = goal.IsReachedBy(ratios->lower), isUpperEnough = goal.IsReachedBy(ratios->upper);
  if (isLowerEnough != isUpperEnough) return Verdict::Noisy;
  return isLowerEnough ? Verdict::Met : Verdict::NotMet;
}
