#include "simulation/MasterClock.h"

#include <cmath>
#include <numbers>

#include "simulation/MissionTime.h"

namespace kv::simulation {
namespace {

constexpr std::chrono::minutes kLongestAtMegahertz{60};
constexpr double kLargestRateError = 20e-6;
constexpr double kLongestUptime = 60.0;  // seconds from power-on to the start of the mission
constexpr double kWanderSeconds = 50e-6;
constexpr double kWanderPeriod = 1300.0;  // seconds

}  // namespace

MasterClock::MasterClock(std::chrono::seconds missionDuration, Random random) {
  const double nominal = missionDuration > kLongestAtMegahertz ? 1e5 : 1e6;
  ticksPerSecond_ = nominal * (1.0 + random.Uniform(-kLargestRateError, kLargestRateError));
  firstTick_ = nominal * random.Uniform(1.0, kLongestUptime);
  wanderPhase_ = random.Uniform(0.0, 2.0 * std::numbers::pi);
}

std::uint32_t MasterClock::TickAt(std::chrono::microseconds time) const {
  const double seconds = ToSeconds(time);
  const double wander = kWanderSeconds * std::sin(2.0 * std::numbers::pi * seconds / kWanderPeriod + wanderPhase_);
  return static_cast<std::uint32_t>(firstTick_ + ticksPerSecond_ * (seconds + wander));
}

}  // namespace kv::simulation
