#include "georef/Attitudes.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "georef/LocalOffset.h"

namespace kv::mission {
namespace {

constexpr double kTurn = 360;

/// False for NaN too.
bool IsAngle(double degrees) { return std::abs(degrees) <= kTurn; }

double AngleBetween(double from, double to, double fraction) {
  return std::remainder(from + fraction * std::remainder(to - from, kTurn), kTurn);
}

/// From 0 to below 360 degrees.
double Heading(double degrees) {
  const double heading = degrees < 0 ? degrees + kTurn : degrees;
  return heading < kTurn ? heading : 0;  // a tiny negative angle is rounded up to a whole turn
}

Attitude AttitudeBetween(const Attitude& from, const Attitude& to, double fraction) {
  return {AngleBetween(from.roll, to.roll, fraction), AngleBetween(from.pitch, to.pitch, fraction),
          Heading(AngleBetween(from.heading, to.heading, fraction))};
}

}  // namespace

const char* WordFor(AttitudeQuality quality) {
  constexpr std::array<const char*, kAttitudeQualities> kWords{"NONE", "POSTPROCESSED", "SENSOR", "TRACK"};
  return kWords[static_cast<std::size_t>(quality)];
}

bool HaveAngles(const std::vector<TimedAttitude>& attitudes) {
  return std::any_of(attitudes.begin(), attitudes.end(), [](const TimedAttitude& timed) {
    const auto& [roll, pitch, heading] = timed.attitude;
    return roll != 0 || pitch != 0 || heading != 0;
  });
}

AttitudeSeries::AttitudeSeries(std::vector<TimedAttitude> attitudes, double maxGapSeconds)
    : attitudes_(std::move(attitudes)), maxGapSeconds_(maxGapSeconds) {
  std::erase_if(attitudes_, [](const TimedAttitude& timed) {
    const auto& [roll, pitch, heading] = timed.attitude;
    return !std::isfinite(timed.adjGpsSeconds) || !IsAngle(roll) || !IsAngle(pitch) || !IsAngle(heading);
  });
  std::ranges::stable_sort(attitudes_, {}, &TimedAttitude::adjGpsSeconds);
}

std::optional<Attitude> AttitudeSeries::At(double adjGpsSeconds) const {
  const auto to = std::ranges::lower_bound(attitudes_, adjGpsSeconds, {}, &TimedAttitude::adjGpsSeconds);
  if (to == attitudes_.end()) return std::nullopt;
  if (to->adjGpsSeconds == adjGpsSeconds) return AttitudeBetween(to->attitude, to->attitude, 0);
  if (to == attitudes_.begin()) return std::nullopt;
  const TimedAttitude& from = to[-1];
  const double pause = to->adjGpsSeconds - from.adjGpsSeconds;
  if (!(pause <= maxGapSeconds_)) return std::nullopt;
  return AttitudeBetween(from.attitude, to->attitude, (adjGpsSeconds - from.adjGpsSeconds) / pause);
}

std::optional<double> HeadingOfTrack(double adjGpsSeconds, TrajectoryIndex& index, const Trajectory& trajectory,
                                     double maxGapSeconds) {
  constexpr double kReach = 0.5;       // seconds
  constexpr double kLeastSpeed = 0.5;  // metres per second
  const auto follow = [&](const tagKVTrajectoryObs& a, const tagKVTrajectoryObs& b) {
    return a.AdjGpsSec < b.AdjGpsSec && b.AdjGpsSec - a.AdjGpsSec <= maxGapSeconds;
  };
  const tagKVTrajectoryObs* to = index.PairEndAt(adjGpsSeconds);
  if (!to || !follow(to[-1], to[0])) return std::nullopt;
  const auto *from = to - 1, *first = trajectory.fixes.data(), *last = first + trajectory.fixes.size() - 1;
  while (from > first && adjGpsSeconds - from->AdjGpsSec < kReach && follow(from[-1], from[0])) --from;
  while (to < last && to->AdjGpsSec - adjGpsSeconds < kReach && follow(to[0], to[1])) ++to;
  const Radii radii = RadiiAt(from->Latitude);
  const double north = (to->Latitude - from->Latitude) * kRadian * radii.meridian;
  const double east = std::remainder(to->Longitude - from->Longitude, kTurn) * kRadian * radii.parallel;
  if (!(std::hypot(north, east) >= kLeastSpeed * (to->AdjGpsSec - from->AdjGpsSec))) return std::nullopt;
  return Heading(std::atan2(east, north) / kRadian);
}

AntennaOffset Turned(const LeverArm& arm, const Attitude& attitude) {
  const auto sine = [](double degrees) { return std::sin(degrees * kRadian); };
  const auto cosine = [](double degrees) { return std::cos(degrees * kRadian); };
  const auto& [roll, pitch, heading] = attitude;
  const double right = arm.right * cosine(roll) - arm.down * sine(roll);
  const double below = arm.right * sine(roll) + arm.down * cosine(roll);
  const double ahead = arm.forward * cosine(pitch) + below * sine(pitch);
  return {ahead * cosine(heading) - right * sine(heading), ahead * sine(heading) + right * cosine(heading),
          below * cosine(pitch) - arm.forward * sine(pitch)};
}

}  // namespace kv::mission
