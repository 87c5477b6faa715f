#pragma once

#include "simulation/FlightPath.h"
#include "simulation/Trouble.h"

namespace kv::simulation {

/// Degrees, turned in the order heading, pitch, roll.
struct Attitude {
  double roll;     ///< right side down
  double pitch;    ///< nose up
  double heading;  ///< clockwise from north, from -180 to 180
};

/// Returns the true attitude: heading and pitch follow the velocity, and the roll is the bank of a coordinated turn. The
/// orientation sensor is mounted with its nose half a degree up, and the pitch is that of the sensor.
Attitude AttitudeAt(const FlightPath& flight, double seconds);

/// Returns the vector from the antenna to a camera with the given lever arm.
LocalPosition LeverArmAt(const FlightPath& flight, const CameraMount& mount, double seconds);

}  // namespace kv::simulation
