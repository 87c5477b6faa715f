#pragma once

#include <cstdint>

/// The loops over pixels that grading consists of.
namespace kv {

/// Neighbouring rows of grey values.
struct RowTriple {
  const std::uint8_t* above;
  const std::uint8_t* row;
  const std::uint8_t* below;
};

struct PixelLoops {
  /// Grey values as OpenCV's conversion 7 gives them.
  /// @param pixels  of three bytes, or of four, the last of which is ignored
  void (*greyOfThreeBytes)(const std::uint8_t* pixels, int columns, std::uint8_t* grey);
  void (*greyOfFourBytes)(const std::uint8_t* pixels, int columns, std::uint8_t* grey);
  /// The sum of the squared Laplacians of the middle row, whose borders are reflected about the edge pixel.
  std::int64_t (*squaresOfRow)(const RowTriple& rows, int columns);
};

/// For any processor.
const PixelLoops& PlainLoops();
/// For one that computes 32 bytes at once; the plain ones if this one does not.
const PixelLoops& WideLoops();

}  // namespace kv
