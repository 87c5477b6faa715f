#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kv {

/// Number and rank from the name of a drone's photo. See docs/formats/drone-timestamps.md.
struct PhotoNumber {
  std::int64_t number;
  int rank;  ///< among photos with the same number the lowest is best; for each sensor mark JPEG before raw
};

/// @param name  file name without folder: 12 for "DJI_20230816103011_0012_W.JPG"; any extension or none
/// @return      nothing for a name without a number, or with a number beyond 64 bits
std::optional<PhotoNumber> PhotoNumberIn(std::wstring_view name);

}  // namespace kv
