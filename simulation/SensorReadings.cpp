#include "simulation/SensorReadings.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kv::simulation {
namespace {

constexpr double kDegree = std::numbers::pi / 180.0;
constexpr double kGravity = 9.81;        // metres per second squared
constexpr double kSwingDegrees = 0.4;    // amplitude of a temperature about its trend
constexpr double kSwingPeriod = 900.0;   // seconds
constexpr double kPercentPerHour = 7.5;  // low enough for the longest mission
constexpr double kEmptyVoltage = 13.8;   // without load
constexpr double kVoltsPerPercent = 0.028;
constexpr double kBatteryOhms = 0.03;
constexpr double kIdleAmperes = 2.6, kCameraAmperes = 0.9;
constexpr double kSecondsPerCalibrationStep = 12.0;
constexpr double kCourseFrom = FlightPath::kParkedSeconds + 5.0;  // until then the vehicle points where it will go
constexpr double kMountedPitch = 0.5;                             // degrees

/// Rounds to a whole number of steps. Adding zero turns a negative zero, which would print as "-0.0", into a positive
/// one.
double Rounded(double value, double stepsPerUnit) { return std::round(value * stepsPerUnit) / stepsPerUnit + 0.0; }

double Speed(const LocalVelocity& velocity) { return std::hypot(velocity.east, velocity.north); }

}  // namespace

SensorReadings::SensorReadings(const FlightPath& flight, Random random)
    : flight_(flight),
      random_(random),
      airTemperature_(random_.Uniform(14.0, 24.0)),
      swingPhase_(random_.Uniform(0.0, 2.0 * std::numbers::pi)),
      fullPercent_(random_.Uniform(93.0, 99.0)) {}

double SensorReadings::Temperature(const Warming& warming, double seconds) {
  const double warmed = warming.rise * (1.0 - std::exp(-(seconds + kSwitchedOnBefore) / warming.constant));
  const double swing = kSwingDegrees * std::sin(2.0 * std::numbers::pi * seconds / kSwingPeriod + swingPhase_);
  return Rounded(airTemperature_ + warmed + swing + Noise(0.1), 10.0);
}

double SensorReadings::ControlUnitTemperature(double seconds) { return Temperature(kControlUnit, seconds); }

PowerReading SensorReadings::Power(double seconds) {
  const double percent = fullPercent_ - kPercentPerHour * (seconds + kSwitchedOnBefore) / 3600.0;
  const bool camerasRun = seconds >= FlightPath::kParkedSeconds;
  const double current = kIdleAmperes + (camerasRun ? kCameraAmperes : 0.0) + Noise(0.15);
  const double voltage = kEmptyVoltage + kVoltsPerPercent * percent - kBatteryOhms * current;
  return {Temperature(kPowerBoard, seconds), Temperature(kBattery, seconds), Rounded(voltage + Noise(0.01), 100.0),
          Rounded(current, 100.0), Rounded(percent, 10.0)};
}

/// Returns degrees clockwise from north.
double SensorReadings::Course(double seconds) const {
  const LocalVelocity velocity = flight_.VelocityAt(std::max(seconds, kCourseFrom));
  return std::atan2(velocity.east, velocity.north) / kDegree;
}

OrientationReading SensorReadings::Orientation(double seconds) {
  constexpr double kHalfStep = 0.5;  // seconds; the rate of turn is measured over twice this
  const double sinceStart = std::max(seconds, 0.0);
  const LocalVelocity velocity = flight_.VelocityAt(sinceStart);
  const double turn = std::remainder(Course(sinceStart + kHalfStep) - Course(sinceStart - kHalfStep), 360.0);
  const double bank = std::atan(Speed(velocity) * turn * kDegree / (2.0 * kHalfStep) / kGravity) / kDegree;
  const double climb = std::atan2(velocity.up, std::max(Speed(velocity), 1.0)) / kDegree;
  const double heading = Rounded(Course(sinceStart) + Noise(0.4), 10.0);
  const double steps = std::floor((seconds + kSwitchedOnBefore) / kSecondsPerCalibrationStep);
  return {Temperature(kOrientationBoard, seconds), Rounded(climb + kMountedPitch + Noise(0.3), 10.0),
          Rounded(bank + Noise(0.3), 10.0), heading < 0.0 ? Rounded(heading + 360.0, 10.0) : heading,
          static_cast<int>(std::min(steps, 3.0))};
}

}  // namespace kv::simulation
