#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace kv::simulation {

/// The purpose of a stream of random numbers. Separate streams keep an option that changes one file from changing the
/// rest of the mission.
enum class Stream : std::uint64_t {
  Flight = 1,
  Receiver,
  Clock,
  Heartbeats,
  Cameras,
  Ground,
  Housekeeping,
  Drone,
  Orientation,
  Trouble1,  ///< with camera 1's photos and triggers
  Trouble2,
  Log,
  EarlierLog,
  Instrument,
  PostProcessed
};

/// Gives the same numbers for a seed on every platform. The standard defines the engine's bits but not the results of
/// its distributions, so the distributions below use exact arithmetic.
class Random {
 public:
  Random(std::uint64_t seed, Stream stream)
      : bits_(seed + static_cast<std::uint64_t>(stream) * 0x9E37'79B9'7F4A'7C15U) {}

  std::uint64_t Bits() { return bits_(); }

  /// Uniformly distributed in [from, to).
  double Uniform(double from, double to) { return from + (to - from) * (static_cast<double>(Bits() >> 11) * 0x1p-53); }

  /// A whole number in [0, count).
  std::size_t Index(std::size_t count) { return Bits() % count; }

  /// Mean 0, standard deviation 1: the sum of twelve uniform numbers, so the magnitude never exceeds 6.
  double Normal() {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) sum += Uniform(0.0, 1.0);
    return sum;
  }

 private:
  std::mt19937_64 bits_;
};

}  // namespace kv::simulation
