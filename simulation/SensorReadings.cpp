#include "simulation/SensorReadings.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "simulation/Attitude.h"

namespace kv::simulation {
namespace {

constexpr double kSwingDegrees = 0.4;    // amplitude of a temperature about its trend
constexpr double kSwingPeriod = 900.0;   // seconds
constexpr double kPercentPerHour = 7.5;  // low enough for the longest mission
constexpr double kEmptyVoltage = 13.8;   // without load
constexpr double kVoltsPerPercent = 0.028;
constexpr double kBatteryOhms = 0.03;
constexpr double kIdleAmperes = 2.6, kCameraAmperes = 0.9;
constexpr double kSecondsPerCalibrationStep = 12.0;

/// Rounds to a whole number of steps. Adding zero turns a negative zero, which would print as "-0.0", into a positive
/// one.
double Rounded(double value, double stepsPerUnit) { return std::round(value * stepsPerUnit) / stepsPerUnit + 0.0; }

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

OrientationReading SensorReadings::Orientation(double seconds) {
  const Attitude attitude = AttitudeAt(flight_, seconds);
  const double heading = Rounded(attitude.heading + Noise(0.4), 10.0);
  const double steps = std::floor((seconds + kSwitchedOnBefore) / kSecondsPerCalibrationStep);
  return {Temperature(kOrientationBoard, seconds), Rounded(attitude.pitch + Noise(0.3), 10.0),
          Rounded(attitude.roll + Noise(0.3), 10.0), heading < 0.0 ? Rounded(heading + 360.0, 10.0) : heading,
          static_cast<int>(std::min(steps, 3.0))};
}

}  // namespace kv::simulation
