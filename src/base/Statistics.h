#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

namespace kv::mission {

/// The value below which a share of the values lies, interpolated between neighbours.
/// @param sorted  ascending, not empty
/// @param share   0 to 1: 0.5 is the median
inline double Quantile(const std::vector<double>& sorted, double share) {
  const double at = share * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(at);
  if (below + 1 >= sorted.size()) return sorted.back();
  return std::lerp(sorted[below], sorted[below + 1], at - static_cast<double>(below));
}

}  // namespace kv::mission
