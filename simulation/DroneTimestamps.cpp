#include "simulation/DroneTimestamps.h"

#include <array>
#include <cmath>

#include "simulation/Attitude.h"
#include "simulation/LocalFrame.h"
#include "simulation/MissionTime.h"
#include "simulation/OutputFile.h"
#include "simulation/Random.h"
#include "simulation/Receiver.h"

namespace kv::simulation {
namespace {

LocalPosition Error(double noise, Random& random) {
  const double alongAxis = noise / std::sqrt(3.0);
  const auto error = [&] { return random.Uniform(-alongAxis, alongAxis); };
  return {error(), error(), error()};  // a braced list is evaluated from left to right
}

/// Returns the way from the antenna to the camera towards north, east and down.
std::array<long, 3> ArmInMillimetres(const MissionOptions& options, const FlightPath& flight, double seconds) {
  const auto& mount = options.trouble.mounts[0];
  if (!mount) return {-4, 12, 190};
  const LocalPosition arm = LeverArmAt(flight, *mount, seconds + mount->shutterDelay);
  return {std::lround(arm.north * 1000.0), std::lround(arm.east * 1000.0), std::lround(-arm.up * 1000.0)};
}

int Flag(const RtkLoss& loss, double seconds) {
  constexpr int kFixed = 50, kFloat = 34, kSingle = 16;  // a drone has no flag of its own for differential fixes
  if (!loss.Holds(seconds)) return kFixed;
  return loss.quality == RtkLoss::Quality::Float ? kFloat : kSingle;
}

}  // namespace

void WriteDroneTimestamps(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                          std::span<const Exposure> exposures) {
  const LocalFrame frame(options.latitude, options.longitude);
  Random random(options.seed, Stream::Drone);
  OutputFile file(path);
  for (const Exposure& exposure : exposures) {
    if (exposure.fault == kTimestampMissing) continue;
    const auto gps = GpsTime(options.start + exposure.time);
    const auto week = std::chrono::floor<std::chrono::weeks>(gps);
    const LocalPosition place = flight.At(ToSeconds(exposure.time));
    const auto [north, east, down] = ArmInMillimetres(options, flight, ToSeconds(exposure.time));
    const double noise = options.noise * NoiseFactor(options.trouble.rtkLoss, ToSeconds(exposure.time));
    const GeodeticPosition seen = frame.ToGeodetic(place + Error(noise, random));
    file.Print(
        "{}\t{}\t[{}]\t{:6},N\t{:6},E\t{:6},V\t{:.8f},Lat\t{:.8f},Lon\t{:.3f},Ellh\t{:.6f}, {:.6f}, "
        "{:.6f}\t{},Q\r\n",
        exposure.number, SecondsText(gps - week), week.count(), north, east, down, seen.latitude, seen.longitude,
        seen.height, noise, noise, 2.0 * noise, Flag(options.trouble.rtkLoss, ToSeconds(exposure.time)));
  }
  file.Close();
}

}  // namespace kv::simulation
