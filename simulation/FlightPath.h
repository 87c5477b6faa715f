#pragma once

#include <vector>

#include "simulation/Random.h"

namespace kv::simulation {

/// Metres from the start of the mission.
struct LocalPosition {
  double east, north, up;

  friend LocalPosition operator+(const LocalPosition& a, const LocalPosition& b) {
    return {a.east + b.east, a.north + b.north, a.up + b.up};
  }
};

/// Metres per second.
struct LocalVelocity {
  double east, north, up;
};

/// The antenna's path as a function of time: parked, take-off, then strips over a block with turns between them. The
/// acceleration is continuous and stays below 3 m/s2 in turns and 0.12 m/s2 on strips. A straight line between fixes
/// 0.1 s apart is therefore within 4 mm of the path; on strips, a line between fixes 1 s apart is within 15 mm.
class FlightPath {
 public:
  /// Seconds from the start of the mission.
  struct Span {
    double begin, end;
  };

  FlightPath(double durationSeconds, Random random);

  LocalPosition At(double seconds) const;
  LocalVelocity VelocityAt(double seconds) const;

  /// The straight stretches in time order; a strip that the mission cuts short ends with it.
  const std::vector<Span>& Strips() const { return strips_; }
  /// The turns that end within the mission.
  const std::vector<Span>& Turns() const { return turns_; }

  static constexpr double kParkedSeconds = 15.0;

 private:
  struct Motion {
    double along, across, up;    // metres along the block's own axes
    double alongSpeed, upSpeed;  // metres per second; where legs meet, the speed across is zero
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
