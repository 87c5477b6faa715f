#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kv {

/// What the name of a drone's photo says, see docs/formats/drone-timestamps.md.
struct PhotoNumber {
  std::int64_t number;
  int rank;  ///< of several photos of one number the lowest is best; JPEG before raw for each mark
};

/// @param name  file name without folder: 12 for "DJI_20230816103011_0012_W.JPG"; any extension or none
/// @return      nothing for a name without a number, or with one beyond 64 bits
std::optional<PhotoNumber> PhotoNumberIn(std::wstring_view name);

}  // namespace kv
