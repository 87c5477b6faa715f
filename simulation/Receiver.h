#pragma once

#include <string_view>
#include <vector>

#include "simulation/FlightPath.h"
#include "simulation/LocalFrame.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// What the receiver has to say at one epoch.
struct Fix {
  int quality;  ///< as in GGA sentences: 0 none, 1 autonomous, 5 float, 4 fixed ambiguities
  std::string_view talker;
  int satellites;
  double hdop;
  GeodeticPosition position;  ///< with the receiver's error; meaningless for quality 0
  LocalVelocity velocity;
};

/// What a receiver without a fix gives as its dilution of precision.
inline constexpr double kNoDop = 99.99;

/// Seconds from the start of the mission to the first fix.
inline constexpr double kFirstFixSeconds = 4.0;

/// A GNSS receiver that is switched on at the start of the mission and settles while the vehicle is still parked. Its
/// error wanders with a correlation time of 10 s. Once settled, its length never exceeds the mission's noise, of which
/// its standard deviation along each axis is a third; before that it is larger by a factor for the quality.
class Receiver {
 public:
  Receiver(const MissionOptions& options, const FlightPath& path, Random random);

  /// Of the epochs in order, each at a time since the start of the mission.
  Fix Next(double seconds);

 private:
  LocalPosition NextError(double limit);

  const FlightPath& path_;
  LocalFrame frame_;
  Random random_;
  double noise_;                       // metres
  double memory_;                      // share of the error that one epoch leaves to the next
  double state_[3] = {0.0, 0.0, 0.0};  // error in standard deviations
};

}  // namespace kv::simulation
