#pragma once

#include <KVMission.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
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

/// @return nothing for no values
inline std::optional<KVMission::Spread> SpreadOf(std::vector<double> values) {
  if (values.empty()) return std::nullopt;
  std::sort(values.begin(), values.end());
  return KVMission::Spread{Quantile(values, 0.5), values.back()};
}

}  // namespace kv::mission
