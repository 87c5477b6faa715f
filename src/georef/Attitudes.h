#pragma once

#include <KVMission.h>

#include <optional>
#include <vector>

#include "georef/TrajectoryIndex.h"

/// How a sensor was turned at a time, and where that puts its cameras.
namespace kv::mission {

using namespace KVMission;

/// "POSTPROCESSED", "SENSOR", "TRACK"; "NONE" for an unknown attitude
const char* WordFor(AttitudeQuality quality);

struct TimedAttitude {
  double adjGpsSeconds;
  Attitude attitude;
};

/// Whether any of the attitudes is not zero, as all are in files without such columns.
bool HaveAngles(const std::vector<TimedAttitude>& attitudes);

/// Attitudes over time.
class AttitudeSeries {
 public:
  /// @param attitudes      in any order; those with an angle that is none are left out
  /// @param maxGapSeconds  longest pause that is not a gap
  AttitudeSeries(std::vector<TimedAttitude> attitudes, double maxGapSeconds);

  /// Interpolates each angle along the shorter arc.
  /// @return  a heading from 0 to below 360 degrees, others from -180 to 180; nothing inside gaps, before the first and
  ///          after the last attitude
  std::optional<Attitude> At(double adjGpsSeconds) const;

 private:
  std::vector<TimedAttitude> attitudes_;  // by time
  double maxGapSeconds_;
};

/// The direction of motion, measured over half a second to each side of a time but not across gaps.
/// @param index  of the trajectory's fixes
/// @return       degrees clockwise from north; nothing outside the trajectory, in gaps, and below 0.5 m/s
std::optional<double> HeadingOfTrack(double adjGpsSeconds, TrajectoryIndex& index, const Trajectory& trajectory,
                                     double maxGapSeconds);

/// Turns a vector by roll, pitch and heading, in this order, from the axes of the sensor to north, east and down.
AntennaOffset Turned(const LeverArm& arm, const Attitude& attitude);

}  // namespace kv::mission
