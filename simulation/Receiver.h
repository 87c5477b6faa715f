#pragma once

#include <string_view>
#include <vector>

#include "simulation/FlightPath.h"
#include "simulation/LocalFrame.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// What the receiver reports at one epoch.
struct Fix {
  int quality;  ///< as in GGA sentences: 0 no fix, 1 autonomous, 2 differential, 4 fixed ambiguities, 5 float
  std::string_view talker;
  int satellites;
  double hdop;
  GeodeticPosition position;  ///< with the receiver's error; meaningless for quality 0
  LocalVelocity velocity;
  double largestError;  ///< metres; three standard deviations of each axis
};

/// The dilution of precision that a receiver without a fix reports.
inline constexpr double kNoDop = 99.99;

/// Seconds from the start of the mission to the first fix.
inline constexpr double kFirstFixSeconds = 4.0;

/// Returns the factor by which lost corrections make the largest error grow at a time of the mission; 1 if there are
/// corrections.
double NoiseFactor(const RtkLoss& loss, double seconds);

/// A GNSS receiver that is switched on at the start of the mission and settles while the vehicle is parked. Its error
/// has a correlation time of 10 s. Once the receiver has settled, the error's standard deviation along each axis is a
/// third of the mission's noise, and its length never exceeds the noise. Before that, both are larger by a factor that
/// depends on the quality, and so they are while corrections are lost.
class Receiver {
 public:
  struct Phase;

  Receiver(const MissionOptions& options, const FlightPath& path, Random random);

  /// Makes the fix of the next epoch.
  /// @param seconds  from the start of the mission, later than in the call before
  Fix Next(double seconds);

  /// Makes the next fix as if the receiver had settled before the start and never lost its corrections.
  Fix NextSettled(double seconds);

 private:
  Fix NextOf(const Phase& phase, double seconds);
  LocalPosition NextError(double limit);

  const FlightPath& path_;
  LocalFrame frame_;
  Random random_;
  double noise_;  // metres
  RtkLoss loss_;
  double memory_;                      // share of the error that carries over to the next epoch
  double state_[3] = {0.0, 0.0, 0.0};  // error in standard deviations
};

}  // namespace kv::simulation
