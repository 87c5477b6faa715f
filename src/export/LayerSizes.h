#pragma once

#include <cstddef>
#include <cstdint>

namespace kv {

// Bytes of a record in the .dbf of each layer of points. Next to it the .shp, with 44 bytes, is small.
inline constexpr std::size_t kTrajectoryPointBytes = 243, kLogPointBytes = 781, kPhotoBytes = 1937, kStationBytes = 926,
                             kPosPointBytes = 531;

/// The most bytes of a .dbf: other programs count them in 31 bits.
inline constexpr std::uint64_t kLargestTable = 0x7FFFFFFF;
inline constexpr std::uint64_t kTableHeader = 32 * 256;  ///< more than any layer's columns take

}  // namespace kv
