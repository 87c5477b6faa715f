#pragma once

#include <chrono>
#include <cstdint>

#include "simulation/Random.h"

namespace kv::simulation {

/// The control unit's free-running 32-bit tick counter, near 1 MHz, or 100 kHz for missions of more than an hour so
/// that it never wraps. Its oscillator is off by up to 20 parts in a million and wanders by up to 50 microseconds about
/// that rate.
class MasterClock {
 public:
  MasterClock(std::chrono::seconds missionDuration, Random random);

  /// @param time  since the start of the mission
  std::uint32_t TickAt(std::chrono::microseconds time) const;

 private:
  double firstTick_;
  double ticksPerSecond_;
  double wanderPhase_;  // radians
};

}  // namespace kv::simulation
