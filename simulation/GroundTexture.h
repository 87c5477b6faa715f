#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "simulation/Random.h"

namespace kv::simulation {

/// A picture of the ground in red, green and blue bytes that repeats in both directions. Soil, growth and grain give a
/// photo cut from it detail at every scale. The blurred form shows the same ground out of focus.
class GroundTexture {
 public:
  static constexpr std::size_t kSide = 1024;  // pixels; a power of two
  static constexpr std::size_t kChannels = 3;

  explicit GroundTexture(Random random);

  GroundTexture Blurred() const;

  /// Copies pixels from (x, y) to the right until `row`, whose size is a multiple of three, is full.
  void CopyRow(std::size_t x, std::size_t y, std::span<unsigned char> row) const;

 private:
  std::vector<unsigned char> pixels_;  // row by row
};

}  // namespace kv::simulation
