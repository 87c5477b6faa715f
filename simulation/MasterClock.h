#pragma once

#include <chrono>
#include <cstdint>

#include "simulation/Random.h"

namespace kv::simulation {

/// The control unit's free-running 32-bit tick counter. It runs near 1 MHz, or near 100 kHz in missions of more than an
/// hour so that it never wraps. Its rate is off by up to 20 parts per million, and it wanders about that rate by up to
/// 50 microseconds.
class MasterClock {
 public:
  MasterClock(std::chrono::seconds missionDuration, Random random);

  /// @param time  from the start of the mission
  std::uint32_t TickAt(std::chrono::microseconds time) const;

 private:
  double firstTick_;
  double ticksPerSecond_;
  double wanderPhase_;  // radians
};

}  // namespace kv::simulation
