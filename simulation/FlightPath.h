#pragma once

#include <vector>

#include "simulation/Random.h"

namespace kv::simulation {

/// Metres from the place where the mission starts.
struct LocalPosition {
  double east, north, up;
};

/// Metres per second.
struct LocalVelocity {
  double east, north, up;
};

/// The antenna's way as a function of time: parked, take-off, then level strips and climbing turns up and down over a
/// block. Its acceleration is continuous, below 3 m/s2 in turns and 0.12 m/s2 on strips, so that a straight line
/// between two fixes 0.1 s apart stays within 4 mm of it, and on strips within 15 mm even between fixes 1 s apart.
class FlightPath {
 public:
  /// Seconds from the start of the mission.
  struct Span {
    double begin, end;
  };

  FlightPath(double durationSeconds, Random random);

  LocalPosition At(double seconds) const;
  LocalVelocity VelocityAt(double seconds) const;

  /// The straight stretches, in time order; the last ends with the mission.
  const std::vector<Span>& Strips() const { return strips_; }
  /// The turns between them.
  const std::vector<Span>& Turns() const { return turns_; }

  static constexpr double kParkedSeconds = 15.0;

 private:
  struct Motion {
    double along, across, up;    // metres in the block's own axes
    double alongSpeed, upSpeed;  // metres per second; none across where legs meet
  };
  struct Leg {
    double begin, duration;
    Motion from, to;
  };

  double AddLeg(double duration, const Motion& to);
  Motion EndOfStrip() const;
  Motion EndOfTurn(std::size_t turn) const;
  LocalPosition Sway(double seconds) const;

  std::vector<Leg> legs_;
  std::vector<Span> strips_, turns_;
  double sinHeading_ = 0.0, cosHeading_ = 1.0;
  double phases_[6] = {};  // radians
};

}  // namespace kv::simulation
