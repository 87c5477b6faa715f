#include "simulation/FlightPath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace kv::simulation {
namespace {

constexpr double kTakeOffSeconds = 15.0;
constexpr double kTakeOffMetres = 90.0;
constexpr double kFlightHeight = 60.0;  // metres above the start
constexpr double kSpeed = 12.0;         // metres per second
constexpr double kStripSeconds = 60.0;
constexpr double kStripClimb = 0.1;  // metres per second, up on one strip and down on the next
constexpr double kStripSpacing = 60.0;
constexpr std::size_t kStripsPerBlock = 10;
constexpr double kBlockClimb = 20.0;  // metres between one pass over the block and the next
constexpr double kTurnSeconds = 14.0;

/// One oscillation of the antenna about its path. The axes differ only in phase.
struct Oscillation {
  double metres, period;  // amplitude, seconds
};
constexpr auto kSway = std::to_array<Oscillation>({{0.05, 7.0}, {0.08, 11.0}});

/// Evaluates the quintic that has the given positions and speeds, and zero acceleration, at both ends.
/// @param u  from 0 at the start to 1 at the end of a leg of `duration` seconds
double MinimumJerk(double from, double fromSpeed, double to, double toSpeed, double duration, double u) {
  const double distance = to - from - fromSpeed * duration;
  const double turn = (toSpeed - fromSpeed) * duration;
  const double cubic = 10.0 * distance - 4.0 * turn;
  const double quartic = -15.0 * distance + 7.0 * turn;
  const double quintic = 6.0 * distance - 3.0 * turn;
  return from + u * (fromSpeed * duration + u * u * (cubic + u * (quartic + u * quintic)));
}

}  // namespace

FlightPath::FlightPath(double durationSeconds, Random random) {
  const double heading = random.Uniform(0.0, 2.0 * std::numbers::pi);
  sinHeading_ = std::sin(heading);
  cosHeading_ = std::cos(heading);
  for (double& phase : phases_) phase = random.Uniform(0.0, 2.0 * std::numbers::pi);

  legs_.push_back({0.0, kParkedSeconds, {}, {}});
  double now = AddLeg(kTakeOffSeconds, {kTakeOffMetres, 0.0, kFlightHeight, kSpeed, kStripClimb});
  for (std::size_t strip = 0; now < durationSeconds; ++strip) {
    const double stripEnd = AddLeg(kStripSeconds, EndOfStrip());
    strips_.push_back({now, std::min(stripEnd, durationSeconds)});
    now = AddLeg(kTurnSeconds, EndOfTurn(strip));
    if (now < durationSeconds) turns_.push_back({stripEnd, now});
  }
}

/// @return the time at which the leg ends
double FlightPath::AddLeg(double duration, const Motion& to) {
  const Leg& last = legs_.back();
  const double begin = last.begin + last.duration;
  legs_.push_back({begin, duration, last.to, to});
  return begin + duration;
}

FlightPath::Motion FlightPath::EndOfStrip() const {
  Motion end = legs_.back().to;
  end.along += end.alongSpeed * kStripSeconds;
  end.up += end.upSpeed * kStripSeconds;
  return end;
}

FlightPath::Motion FlightPath::EndOfTurn(std::size_t turn) const {
  Motion end = legs_.back().to;
  const std::size_t block = turn / kStripsPerBlock;
  const bool blockDone = turn % kStripsPerBlock == kStripsPerBlock - 1;
  end.across += block % 2 == 0 ? kStripSpacing : -kStripSpacing;
  if (blockDone) end.up += block % 2 == 0 ? kBlockClimb : -kBlockClimb;
  end.alongSpeed = -end.alongSpeed;
  end.upSpeed = -end.upSpeed;
  return end;
}

LocalPosition FlightPath::Sway(double seconds) const {
  const double ramp = std::clamp((seconds - kParkedSeconds) / kTakeOffSeconds, 0.0, 1.0);
  const double share = MinimumJerk(0.0, 0.0, 1.0, 0.0, kTakeOffSeconds, ramp);
  double axes[3] = {};
  for (std::size_t i = 0; i < std::size(phases_); ++i) {
    const auto& [metres, period] = kSway[i / 3];
    axes[i % 3] += share * metres * std::sin(2.0 * std::numbers::pi * seconds / period + phases_[i]);
  }
  return {axes[0], axes[1], axes[2]};
}

LocalPosition FlightPath::At(double seconds) const {
  const auto next = std::upper_bound(legs_.begin() + 1, legs_.end(), seconds,
                                     [](double time, const Leg& leg) { return time < leg.begin; });
  const auto& [begin, duration, from, to] = *(next - 1);
  const double u = (seconds - begin) / duration;
  const double along = MinimumJerk(from.along, from.alongSpeed, to.along, to.alongSpeed, duration, u);
  const double across = MinimumJerk(from.across, 0.0, to.across, 0.0, duration, u);
  const double up = MinimumJerk(from.up, from.upSpeed, to.up, to.upSpeed, duration, u);
  const LocalPosition sway = Sway(seconds);
  return {along * sinHeading_ + across * cosHeading_ + sway.east,
          along * cosHeading_ - across * sinHeading_ + sway.north, up + sway.up};
}

LocalVelocity FlightPath::VelocityAt(double seconds) const {
  constexpr double kHalfStep = 0.01;  // seconds
  const double before = std::max(0.0, seconds - kHalfStep), after = seconds + kHalfStep;
  const LocalPosition a = At(before), b = At(after);
  const double elapsed = after - before;
  return {(b.east - a.east) / elapsed, (b.north - a.north) / elapsed, (b.up - a.up) / elapsed};
}

}  // namespace kv::simulation
