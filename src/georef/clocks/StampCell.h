#pragma once

#include <algorithm>
#include <cmath>
#include <span>

namespace kv {

/// What a stamp says: a photo stamped s was exposed while the camera's clock stood in [s + begin, s + begin + width).
/// Seconds.
struct StampCell {
  double width = 1.0;
  double begin = 0.0;
};

/// Whole seconds are cut off, as cameras write them into EXIF; finer stamps are rounded.
constexpr StampCell kWholeSeconds{1.0, 0.0}, kHundredths{0.01, -0.005}, kThousandths{0.001, -0.0005};

/// The resolution of stamps, from their digits. Stamps that are not finite are ignored.
inline StampCell StampCellOf(std::span<const double> stamps) {
  const auto allAreMultiplesOf = [&](double unitsPerSecond, double tolerance) {
    return std::ranges::all_of(stamps, [&](double stamp) {
      const double units = stamp * unitsPerSecond;
      return !std::isfinite(units) || std::abs(units - std::round(units)) < tolerance;
    });
  };
  // The tolerances cover the rounding of stamps counted from 1970.
  if (allAreMultiplesOf(1, 1e-6)) return kWholeSeconds;
  if (allAreMultiplesOf(100, 1e-4)) return kHundredths;
  return kThousandths;
}

}  // namespace kv
