#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "base/Statistics.h"
#include "georef/Ellipsoid.h"
#include "mission/inputs/Trajectories.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

using Fix = tagKVTrajectoryObs;

constexpr double kFarHorizontal = 10, kFarVertical = 10;  // metres, at 95 %, where accuracy is not known
constexpr double kLeast = 0.5;                            // metres; antennas may be that far apart
constexpr double kSigmas = 3;

/// A fix of the other trajectory beside the one that is used.
struct Pair {
  EastNorthUp way;        ///< from the used place to the other
  double sigma, upSigma;  ///< of both together; NaN when unknown
};

double Percentile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  return Quantile(values, share);
}

Ecef PointOf(const Fix& fix) { return ToEcef({fix.Latitude, fix.Longitude, fix.Altitude}); }

/// The points of a trajectory by time.
class Track {
 public:
  explicit Track(const std::vector<Fix>& fixes) {
    for (const Fix& fix : fixes) points_.push_back({fix.AdjGpsSec, PointOf(fix)});
    std::sort(points_.begin(), points_.end(), [](const Point& a, const Point& b) { return a.time < b.time; });
  }

  /// @return nothing outside the track, and between points that are far apart in time
  std::optional<Ecef> At(double time) const {
    constexpr double kLongest = 5;  // seconds; a straight line says little beyond
    const auto after = std::upper_bound(points_.begin(), points_.end(), time,
                                        [](double at, const Point& point) { return at < point.time; });
    if (after == points_.begin()) return std::nullopt;
    const Point& from = *std::prev(after);
    if (after == points_.end()) return time == from.time ? std::optional(from.point) : std::nullopt;
    const double span = after->time - from.time, share = (time - from.time) / span;
    if (span > kLongest) return std::nullopt;
    const auto mix = [&](double a, double b) { return a + (b - a) * share; };
    return Ecef{mix(from.point.x, after->point.x), mix(from.point.y, after->point.y),
                mix(from.point.z, after->point.z)};
  }

 private:
  struct Point {
    double time;
    Ecef point;
  };
  std::vector<Point> points_;
};

class Comparison {
 public:
  Comparison(const Trajectory& used, const Trajectory& other) : used_(used), other_(other), track_(used.fixes) {
    constexpr std::size_t kMost = 2000;
    const std::size_t step = std::max<std::size_t>(1, other.fixes.size() / kMost);
    for (std::size_t i = 0; i < other.fixes.size(); i += step) {
      if (const auto way = WayAt(i, 0))
        pairs_.push_back({*way, SigmaOf(i, &FixQuality::horizontalSigma), SigmaOf(i, &FixQuality::verticalSigma)});
      sampled_.push_back(i);
    }
  }

  const std::vector<Pair>& Pairs() const { return pairs_; }

  /// Horizontal distance, root of the mean square, when the other's times are moved; nothing where they hardly overlap.
  std::optional<double> DistanceAt(double shift) const {
    double sum = 0;
    std::size_t count = 0;
    for (const std::size_t i : sampled_) {
      const auto way = WayAt(i, shift);
      if (way) sum += way->east * way->east + way->north * way->north, ++count;
    }
    if (count < sampled_.size() / 4 || count < 3) return std::nullopt;
    return std::sqrt(sum / static_cast<double>(count));
  }

  /// The shift of the other's times, within a minute, that brings both nearest: first whole seconds, then finer.
  double BestShift() const {
    constexpr int kFarthest = 60;
    double best = 0, least = DistanceAt(0).value_or(0), step = 1;
    const auto attempt = [&](double shift) {
      const auto distance = DistanceAt(shift);
      if (distance && *distance < least) least = *distance, best = shift;
    };
    for (int shift = -kFarthest; shift <= kFarthest; ++shift) attempt(shift);
    for (int round = 0; round < 10; ++round) {
      step /= 2;
      const double middle = best;
      attempt(middle - step), attempt(middle + step);
    }
    return best;
  }

  /// Whether times moved by a second more or less are clearly worse: not so when the sensor hardly moves.
  bool IsShiftClear(double shift) const {
    const auto at = DistanceAt(shift), before = DistanceAt(shift - 1), after = DistanceAt(shift + 1);
    return at && before && after && std::min(*before, *after) > std::max(2 * *at, kLeast);
  }

 private:
  std::optional<EastNorthUp> WayAt(std::size_t i, double shift) const {
    const Fix& fix = other_.fixes[i];
    const auto at = track_.At(fix.AdjGpsSec + shift);
    return at ? std::optional(Between(*at, PointOf(fix))) : std::nullopt;
  }

  double SigmaOf(std::size_t i, float FixQuality::*sigma) const {
    if (other_.qualities.empty() || used_.qualities.empty()) return std::nan("");
    const double time = other_.fixes[i].AdjGpsSec;
    const auto next = std::lower_bound(used_.fixes.begin(), used_.fixes.end() - 1, time,
                                       [](const Fix& fix, double at) { return fix.AdjGpsSec < at; });
    const auto& quality = used_.qualities[static_cast<std::size_t>(next - used_.fixes.begin())];
    return std::hypot(other_.qualities[i].*sigma, quality.*sigma);
  }

  const Trajectory &used_, &other_;
  Track track_;
  std::vector<std::size_t> sampled_;
  std::vector<Pair> pairs_;
};

/// What receivers explain: three sigma, but not less than the distance of antennas; a fixed one without accuracies.
double Limit(const std::vector<Pair>& pairs, double Pair::*sigma, double unknown) {
  std::vector<double> known;
  for (const Pair& pair : pairs) {
    if (std::isfinite(pair.*sigma)) known.push_back(pair.*sigma);
  }
  if (2 * known.size() < pairs.size() || known.empty()) return unknown;
  return std::clamp(kSigmas * Percentile(known, 0.95), kLeast, unknown);
}

TrajectoryComparison::Distances DistancesOf(const std::vector<double>& metres) {
  return {Percentile(metres, 0.5), Percentile(metres, 0.95), Percentile(metres, 1)};
}

/// Why the two are apart, as far as the differences show it.
std::string CauseOf(const Comparison& comparison, double shift, bool isFar, bool isHigh, double up, double upSpread) {
  constexpr double kLeastShift = 0.02;  // seconds
  std::string cause;
  const double now = comparison.DistanceAt(0).value_or(0), then = comparison.DistanceAt(shift).value_or(now);
  const bool isShifted = isFar && std::abs(shift) >= kLeastShift && then < now / 2;
  if (isShifted)
    cause = fmt::format(
        "the distance is along the track and nearly vanishes when the other's times are moved by {:+.2f} s: "
        "one of them is not in the time system that it seems (UTC is 18 s behind GPS time since 2017)",
        shift);
  else if (isFar)
    cause = "the cause is not the time: look at datum, reference station and file";
  if (isHigh && upSpread < std::abs(up) / 4)
    cause += fmt::format("{}heights differ by a nearly constant {:+.2f} m: one of them seems to be above the geoid",
                         cause.empty() ? "" : "; ", up);
  else if (isHigh && !isShifted)
    cause += fmt::format("{}heights differ by a changing amount", cause.empty() ? "" : "; ");
  return cause;
}

}  // namespace

TrajectoryComparison CompareTrajectories(const Trajectory& used, const Trajectory& other, Job& job) {
  TrajectoryComparison result{used.file, other.file, 0, {}, {}, {}};
  const std::string usedName = Utf8(used.file.filename()), otherName = Utf8(other.file.filename());
  const Subject subject{.file = other.file};
  const Comparison comparison(used, other);
  const auto& pairs = comparison.Pairs();
  if (pairs.empty()) {
    job.Add(Found::TrajectoriesApartInTime,
            {{"used", usedName},
             {"from", used.first},
             {"to", used.last},
             {"other", otherName},
             {"otherFrom", other.first},
             {"otherTo", other.last}},
            subject);
    return result;
  }
  std::vector<double> horizontal, up, height;
  for (const Pair& pair : pairs) {
    horizontal.push_back(std::hypot(pair.way.east, pair.way.north));
    up.push_back(pair.way.up), height.push_back(std::abs(pair.way.up));
  }
  result.compared = pairs.size();
  result.horizontal = DistancesOf(horizontal), result.vertical = DistancesOf(height);
  const double wide = result.horizontal->most, high = result.vertical->most, shift = comparison.BestShift();
  if (comparison.IsShiftClear(shift)) result.shiftSeconds = shift;
  // Two dimensions: 95 % of the distances lie within 2.45 sigma of an axis, and three sigma hold 99 %.
  const bool isFar = wide > Limit(pairs, &Pair::sigma, kFarHorizontal);
  const bool isHigh = high > Limit(pairs, &Pair::upSigma, kFarVertical) && other.heightsUnknown == 0;
  const double median = Percentile(up, 0.5), spread = Percentile(up, 0.95) - Percentile(up, 0.05);
  Values values{{"used", usedName},
                {"other", otherName},
                {"compared", Count(pairs.size())},
                {"horizontal", wide},
                {"vertical", high}};
  if (!isFar && !isHigh) {
    job.Add(Found::TrajectoriesCompared, std::move(values), subject);
  } else {
    values.insert(values.end(), {{"shift", isFar ? shift : 0},
                                 {"up", median},
                                 {"cause", CauseOf(comparison, shift, isFar, isHigh, median, spread)}});
    job.Add(Found::TrajectoriesDiffer, std::move(values), subject);
  }
  return result;
}

}  // namespace kv::mission
