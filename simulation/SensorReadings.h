#pragma once

#include "simulation/FlightPath.h"
#include "simulation/Random.h"

namespace kv::simulation {

struct PowerReading {
  double boardTemperature, batteryTemperature;  ///< degrees Celsius
  double voltage, current;                      ///< volts, amperes
  double percent;                               ///< charge left
};

struct OrientationReading {
  double boardTemperature;      ///< degrees Celsius
  double pitch, roll, heading;  ///< degrees; the heading in [0, 360)
  int calibration;              ///< 0 to 3
};

/// The sensors behind the housekeeping log and the orientation file. Each temperature rises from the air's towards its
/// own limit, the battery drains by a few percent an hour, and the orientation follows the vehicle's path. Readings
/// have the sensors' resolution and a little noise.
class SensorReadings {
 public:
  SensorReadings(const FlightPath& flight, Random random);

  /// All three take seconds from the start of the mission, no earlier than -kSwitchedOnBefore.
  double ControlUnitTemperature(double seconds);
  PowerReading Power(double seconds);
  OrientationReading Orientation(double seconds);

  static constexpr double kSwitchedOnBefore = 25.0;  // seconds

 private:
  struct Warming {
    double rise;      // degrees Celsius
    double constant;  // time constant in seconds
  };
  static constexpr Warming kControlUnit{19.0, 420.0}, kPowerBoard{11.0, 600.0}, kBattery{7.5, 1500.0},
      kOrientationBoard{8.0, 300.0};

  double Temperature(const Warming& warming, double seconds);
  double Noise(double largest) { return random_.Uniform(-largest, largest); }

  const FlightPath& flight_;
  Random random_;
  double airTemperature_;  // degrees Celsius
  double swingPhase_;      // radians
  double fullPercent_;     // charge when switched on
};

}  // namespace kv::simulation
