#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "simulation/Random.h"

namespace kv::simulation {

/// A picture of the ground, red, green and blue bytes, that repeats in both directions: bare soil, growth and grain, so
/// that a photo cut out of it has detail at every scale. The blurred form is the same place seen by a lens out of
/// focus.
class GroundTexture {
 public:
  static constexpr std::size_t kSide = 1024;  // pixels; a power of two
  static constexpr std::size_t kChannels = 3;

  explicit GroundTexture(Random random);

  GroundTexture Blurred() const;

  /// Copies the pixels (x, y), (x + 1, y) and so on into `row`, whose size is a multiple of three.
  void CopyRow(std::size_t x, std::size_t y, std::span<unsigned char> row) const;

 private:
  std::vector<unsigned char> pixels_;  // row by row
};

}  // namespace kv::simulation
