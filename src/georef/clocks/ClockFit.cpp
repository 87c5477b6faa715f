#include "georef/clocks/ClockFit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace kv::clocks {
namespace {

// --- Wide stamps: intervals ---

constexpr Index kDriftSteps = 15;  // drifts tried in a pass
constexpr Index kDriftPasses = 3;  // each around the mean of the one before

// For one drift: the offsets that put every event into its cell, or the offset that misses least.
struct OffsetRange {
  double middle, width, cost;  // seconds, seconds (negative: no offset fits all), nats
};

// Minimises half the squared distance of the offset from the intervals [low, low + width], by Newton's steps.
double MissLeast(std::span<const double> lows, double width, double outside, double& offset) {
  double squares = 0;
  for (Index step = 0; step < 6; ++step) {
    double sum = 0, count = 1e-9;
    squares = 0;
    for (const double low : lows) {
      const double miss = low > offset ? low - offset : offset > low + width ? low + width - offset : 0;
      if (miss == 0) continue;
      sum += miss;
      ++count;
      squares += miss * miss;
    }
    offset += sum / count;
    if (std::abs(sum / count) < 1e-5) break;
  }
  return 0.5 * squares / (outside * outside);
}

OffsetRange OffsetsFor(double drift, std::span<const TimePair> pairs, double width, double outside,
                       std::vector<double>& lows) {
  lows.clear();
  for (const auto& [event, begin] : pairs) lows.push_back(begin - event - drift * event);
  const auto [low, high] = std::ranges::minmax(lows);
  OffsetRange range{0.5 * (low + high + width), low + width - high, 0};
  if (range.width < 0) range.cost = MissLeast(lows, width, outside, range.middle);
  range.cost += 0.5 * drift * drift / (kDriftSigma * kDriftSigma);
  return range;
}

double LargestMagnitude(std::span<const TimePair> pairs) {
  double largest = 1;
  for (const TimePair& pair : pairs) largest = std::max(largest, std::abs(pair.event));
  return largest;
}

// --- Fine stamps: least squares ---

constexpr Index kLineSteps = 8;          // of reweighting
constexpr double kOutlierSigmas = 2.5;   // residuals beyond are weighted down
constexpr double kMadToSigma = 1.4826;   // median absolute deviation to standard deviation, normal distribution
constexpr double kLargestSpread = 0.04;  // seconds; cameras jitter less

// Rounding, and half a millisecond of exposure and trigger.
double SmallestSpread(double width) { return std::sqrt(width * width / 12 + 0.0005 * 0.0005); }

}  // namespace

ClockFit FitCells(std::span<const TimePair> pairs, double width, double outside, double drift) {
  // Weighs a clock that no offset fits as if this wide a range did.
  const double leastWidth = 0.3 * outside;
  constexpr double kAllDrifts = 3 * kDriftSigma;
  // A wrong drift moves the ends of the mission by more than a cell: further away nothing was paired.
  double reach = std::min(kAllDrifts, 1.2 * width / LargestMagnitude(pairs));
  double middle = reach < kAllDrifts ? drift : 0;
  ClockFit fit;
  std::vector<double> lows;
  lows.reserve(pairs.size());
  for (Index pass = 0; pass < kDriftPasses; ++pass) {
    std::array<double, kDriftSteps> drifts;
    std::array<OffsetRange, kDriftSteps> ranges;
    double least = std::numeric_limits<double>::infinity();
    for (Index i = 0; i < kDriftSteps; ++i) {
      drifts[i] = std::clamp(middle - reach + 2 * reach * i / (kDriftSteps - 1), -kMaxDrift, kMaxDrift);
      ranges[i] = OffsetsFor(drifts[i], pairs, width, outside, lows);
      least = std::min(least, ranges[i].cost);
    }
    double weights = 0, offset = 0, driftSum = 0, offsetSquares = 0, driftSquares = 0;
    for (Index i = 0; i < kDriftSteps; ++i) {
      const double open = std::max(ranges[i].width, leastWidth);
      const double weight = std::exp(least - ranges[i].cost) * open;
      weights += weight;
      offset += weight * ranges[i].middle;
      driftSum += weight * drifts[i];
      offsetSquares += weight * (ranges[i].middle * ranges[i].middle + open * open / 12);
      driftSquares += weight * drifts[i] * drifts[i];
    }
    fit.clock = {offset / weights, driftSum / weights, outside};
    fit.offsetSigma = std::sqrt(std::max(1e-8, offsetSquares / weights - fit.clock.offset * fit.clock.offset));
    fit.driftSigma = std::sqrt(std::max(0.0, driftSquares / weights - fit.clock.drift * fit.clock.drift));
    const double nextReach = std::max(4 * fit.driftSigma, reach * 2.2 / (kDriftSteps - 1));
    if (nextReach > reach * 0.7) break;
    reach = nextReach;
    middle = fit.clock.drift;
  }
  return fit;
}

ClockFit FitLine(std::span<const TimePair> pairs, double width, double spread) {
  std::vector<double> weights(pairs.size(), 1.0), residuals(pairs.size());
  const auto difference = [&](const TimePair& pair) { return pair.begin + width / 2 - pair.event; };
  ClockFit fit;
  for (Index step = 0; step < kLineSteps; ++step) {
    double s = 0, st = 0, stt = 0, sy = 0, sty = 0;
    for (std::size_t k = 0; k < pairs.size(); ++k) {
      const double t = pairs[k].event, y = difference(pairs[k]);
      s += weights[k];
      st += weights[k] * t;
      stt += weights[k] * t * t;
      sy += weights[k] * y;
      sty += weights[k] * t * y;
    }
    stt += spread * spread / (kDriftSigma * kDriftSigma);  // the prior of the drift
    const double determinant = s * stt - st * st;
    const double drift = std::clamp((s * sty - st * sy) / determinant, -kMaxDrift, kMaxDrift);
    const double offset = (sy - drift * st) / s;
    for (std::size_t k = 0; k < pairs.size(); ++k) {
      residuals[k] = std::abs(difference(pairs[k]) - offset - drift * pairs[k].event);
    }
    spread = std::max(SmallestSpread(width), kMadToSigma * Median(residuals));
    for (std::size_t k = 0; k < pairs.size(); ++k) {
      weights[k] = residuals[k] < kOutlierSigmas * spread ? 1 : kOutlierSigmas * spread / residuals[k];
    }
    fit = {{offset, drift, std::min(spread, kLargestSpread)},
           spread * std::sqrt(stt / determinant),
           spread * std::sqrt(s / determinant)};
  }
  return fit;
}

Clock VoteAround(const Sequences& sequences, const Clock& clock, double reach) {
  constexpr Index kPhotos = 1500, kEventsPerPhoto = 12, kMaxDriftSteps = 200;
  const double bin = std::max(0.004, sequences.cell.width);  // seconds
  struct Vote {
    double difference, event;
  };
  std::vector<Vote> votes;
  double largest = 1;
  const auto cameraTime = [&](double event) { return clock.At(event); };
  const Index step = std::max(1u, sequences.PhotoCount() / kPhotos);
  for (Index photo = 0; photo < sequences.PhotoCount(); photo += step) {
    const double middle = sequences.CellMiddle(sequences.stamps[photo]);
    auto event = std::ranges::lower_bound(sequences.events, middle - reach, {}, cameraTime);
    for (Index n = 0; n < kEventsPerPhoto && event != sequences.events.end(); ++n, ++event) {
      const double difference = middle - cameraTime(*event);
      if (difference < -reach) break;
      votes.push_back({difference, *event});
      largest = std::max(largest, std::abs(*event));
    }
  }
  if (votes.size() < 3) return clock;
  const int driftSteps = static_cast<int>(std::min<double>(kMaxDriftSteps, std::ceil(kMaxDrift * largest / bin)));
  std::vector<Index> counts(static_cast<std::size_t>(std::ceil(2 * reach / bin)) + 4);
  Clock best = clock;
  Index most = 0;
  double leastChange = 0;
  for (int i = -driftSteps; i <= driftSteps; ++i) {
    const double change = i * kMaxDrift / driftSteps;
    if (std::abs(clock.drift + change) > kMaxDrift) continue;
    std::ranges::fill(counts, 0);
    for (const Vote& vote : votes) {
      const double at = std::floor((vote.difference - change * vote.event + reach) / bin) + 1;
      if (at >= 1 && at < static_cast<double>(counts.size() - 1)) ++counts[static_cast<std::size_t>(at)];
    }
    for (std::size_t j = 1; j + 1 < counts.size(); ++j) {
      const Index count = 2 * counts[j] + counts[j - 1] + counts[j + 1];
      if (count == 0 || count < most || (count == most && std::abs(change) >= std::abs(leastChange))) continue;
      most = count;
      leastChange = change;
      best.offset = clock.offset - reach + (static_cast<double>(j) - 0.5) * bin;
      best.drift = clock.drift + change;
    }
  }
  return best;
}

}  // namespace kv::clocks
