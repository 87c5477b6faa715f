#pragma once
/// @file
/// Times, extents and other small values of the engine's records.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <ratio>
#include <vector>

#if defined(_WIN32) && defined(KVMISSION_BUILD)
#define KVMISSION_API __declspec(dllexport)
#elif defined(_WIN32)
#define KVMISSION_API __declspec(dllimport)
#else
#define KVMISSION_API __attribute__((visibility("default")))
#endif

namespace KVMission {

/// UTC in units of 100 ns, as in a file time.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
using Instant = std::chrono::time_point<std::chrono::system_clock, Ticks>;
using Date = std::chrono::time_point<std::chrono::system_clock, std::chrono::duration<std::int64_t, std::ratio<86400>>>;

/// Earliest and latest of the instants added.
struct TimeSpan {
  std::optional<Instant> first, last;

  void Add(Instant time) {
    if (!first || time < *first) first = time;
    if (!last || time > *last) last = time;
  }
};

/// Extent in degrees and metres; empty until something is added.
struct Bounds {
  static constexpr double kNone = std::numeric_limits<double>::infinity();
  double west = kNone, south = kNone, lowest = kNone;
  double east = -kNone, north = -kNone, highest = -kNone;

  void Add(double latitude, double longitude, double height) {
    Add(Bounds{longitude, latitude, height, longitude, latitude, height});
  }
  void Add(const Bounds& other) {
    west = other.west < west ? other.west : west, east = other.east > east ? other.east : east;
    south = other.south < south ? other.south : south, north = other.north > north ? other.north : north;
    lowest = other.lowest < lowest ? other.lowest : lowest, highest = other.highest > highest ? other.highest : highest;
  }
  bool IsEmpty() const { return west > east; }
};

/// Numbers of lines in a file, from 1.
using LineNumbers = std::vector<std::size_t>;

/// A median and a largest value, if there are any values.
struct Spread {
  double median = 0, largest = 0;
};

}  // namespace KVMission
