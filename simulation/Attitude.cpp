#include "simulation/Attitude.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kv::simulation {
namespace {

constexpr double kDegree = std::numbers::pi / 180.0;
constexpr double kGravity = 9.81;                                 // metres per second squared
constexpr double kCourseFrom = FlightPath::kParkedSeconds + 5.0;  // until then the vehicle points where it will go
constexpr double kMountedPitch = 0.5;                             // degrees

/// Returns degrees clockwise from north.
double Course(const FlightPath& flight, double seconds) {
  const LocalVelocity velocity = flight.VelocityAt(std::max(seconds, kCourseFrom));
  return std::atan2(velocity.east, velocity.north) / kDegree;
}

}  // namespace

Attitude AttitudeAt(const FlightPath& flight, double seconds) {
  constexpr double kHalfStep = 0.5;  // seconds; the rate of turn is measured over twice this
  const double sinceStart = std::max(seconds, 0.0);
  const LocalVelocity velocity = flight.VelocityAt(sinceStart);
  const double speed = std::hypot(velocity.east, velocity.north);
  const double turn =
      std::remainder(Course(flight, sinceStart + kHalfStep) - Course(flight, sinceStart - kHalfStep), 360.0);
  const double bank = std::atan(speed * turn * kDegree / (2.0 * kHalfStep) / kGravity) / kDegree;
  const double climb = std::atan2(velocity.up, std::max(speed, 1.0)) / kDegree;
  return {bank, climb + kMountedPitch, Course(flight, sinceStart)};
}

LocalPosition LeverArmAt(const FlightPath& flight, const CameraMount& mount, double seconds) {
  const Attitude attitude = AttitudeAt(flight, seconds);
  const double sinRoll = std::sin(attitude.roll * kDegree), cosRoll = std::cos(attitude.roll * kDegree);
  const double sinPitch = std::sin(attitude.pitch * kDegree), cosPitch = std::cos(attitude.pitch * kDegree);
  const double sinHeading = std::sin(attitude.heading * kDegree), cosHeading = std::cos(attitude.heading * kDegree);

  const double right = mount.right * cosRoll - mount.down * sinRoll;  // level again after each turn
  const double belowWings = mount.right * sinRoll + mount.down * cosRoll;
  const double forward = mount.forward * cosPitch + belowWings * sinPitch;
  const double down = -mount.forward * sinPitch + belowWings * cosPitch;
  return {forward * sinHeading + right * cosHeading, forward * cosHeading - right * sinHeading, -down};
}

}  // namespace kv::simulation
