#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "time/Instants.h"

namespace kv::mission {

/// In metres, as if both fixes lay on one plane: good enough to tell jumps.
double Distance(const tagKVTrajectoryObs& from, const tagKVTrajectoryObs& to);

/// Whether nothing that carries a sensor gets from one fix to the next in these seconds.
inline bool IsJump(const tagKVTrajectoryObs& from, const tagKVTrajectoryObs& to, double seconds) {
  constexpr double kFastest = 400, kSlack = 50;            // m/s, metres: of aircraft; of single point positions
  constexpr double kNearDegrees = 1e-4, kNearMetres = 10;  // within the slack, whatever the latitude
  const bool isNear = std::abs(to.Latitude - from.Latitude) < kNearDegrees &&
                      std::abs(to.Longitude - from.Longitude) < kNearDegrees &&
                      std::abs(to.Altitude - from.Altitude) < kNearMetres;
  return !isNear && Distance(from, to) > kFastest * std::abs(seconds) + kSlack;
}

/// Finds bounds, gaps, jumps, crossings and steps back in time while it is shown a trajectory fix by fix.
class Inspection {
 public:
  explicit Inspection(double maxGapSeconds) : maxGapSeconds_(maxGapSeconds) {}

  /// @param fix   the next one in file order; stays where it is until the next call
  /// @param time  the fix's
  void Take(const tagKVTrajectoryObs& fix, Instant time);
  /// Moves what was found; to be called once, at the end.
  void WriteTo(Trajectory& trajectory);

 private:
  void Keep(const Gap& step, bool isGap, bool isJump, bool isCrossing);
  /// The fixes that both steps to and from are jumps; the first and the last have one step only.
  std::size_t CountOutlying() const;

  double maxGapSeconds_;
  const tagKVTrajectoryObs* last_ = nullptr;
  std::size_t taken_ = 0;
  Instant firstTime_, lastTime_;
  Bounds bounds_;
  std::vector<Gap> gaps_, crossings_, jumps_;
  std::vector<std::size_t> afterJumps_;  // numbers of the fixes that jumps lead to, ascending
  std::size_t stepsBack_ = 0;
};

inline void Inspection::Take(const tagKVTrajectoryObs& fix, Instant time) {
  constexpr double kHalfTurn = 180.0;
  bounds_.Add(fix.Latitude, fix.Longitude, fix.Altitude);
  if (last_) {
    const double seconds = Seconds(time - lastTime_);
    const bool isGap = seconds > maxGapSeconds_, isJump = IsJump(*last_, fix, seconds);
    const bool isCrossing = std::abs(fix.Longitude - last_->Longitude) > kHalfTurn;
    stepsBack_ += time < lastTime_;
    if (isGap || isJump || isCrossing) [[unlikely]]
      Keep({lastTime_, time, last_->Latitude, last_->Longitude}, isGap, isJump, isCrossing);
  } else {
    firstTime_ = time;
  }
  last_ = &fix, lastTime_ = time;
  ++taken_;
}

/// Shows an inspection all fixes of a trajectory, and writes down what it finds.
void Inspect(double maxGapSeconds, Trajectory& trajectory);

}  // namespace kv::mission
