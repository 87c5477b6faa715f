#include "mission/inputs/Inspection.h"

#include <cmath>
#include <utility>

#include "georef/LocalOffset.h"

namespace kv::mission {

double Distance(const tagKVTrajectoryObs& from, const tagKVTrajectoryObs& to) {
  constexpr double kTurn = 360;
  const Radii radii = RadiiAt(from.Latitude);
  const double north = (to.Latitude - from.Latitude) * kRadian * radii.meridian;
  const double east = std::remainder(to.Longitude - from.Longitude, kTurn) * kRadian * radii.parallel;
  return std::hypot(north, east, to.Altitude - from.Altitude);
}

void Inspection::Keep(const Gap& step, bool isGap, bool isJump, bool isCrossing) {
  if (isGap) gaps_.push_back(step);
  if (isJump) jumps_.push_back(step), afterJumps_.push_back(taken_);
  if (isCrossing) crossings_.push_back(step);
}

void Inspection::WriteTo(Trajectory& trajectory) {
  trajectory.first = firstTime_, trajectory.last = lastTime_;
  trajectory.bounds = bounds_;
  trajectory.gaps = std::move(gaps_), trajectory.crossings = std::move(crossings_),
  trajectory.jumps = std::move(jumps_);
  trajectory.outlying = CountOutlying();
  trajectory.stepsBack = stepsBack_;
}

std::size_t Inspection::CountOutlying() const {
  std::size_t outlying = 0;
  for (std::size_t i = 0; i < afterJumps_.size(); ++i) {
    const std::size_t fix = afterJumps_[i];
    const bool isPair = i + 1 < afterJumps_.size() && afterJumps_[i + 1] == fix + 1;
    if (isPair || fix == 1 || fix + 1 == taken_) ++outlying;
    i += isPair;
  }
  return outlying;
}

void Inspect(double maxGapSeconds, Trajectory& trajectory) {
  Inspection inspection(maxGapSeconds);
  for (const auto& fix : trajectory.fixes) inspection.Take(fix, FromFileTime(fix.TimeUTC));
  inspection.WriteTo(trajectory);
}

}  // namespace kv::mission
