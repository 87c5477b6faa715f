#pragma once

#include <vector>

#include "simulation/MissionTime.h"

namespace kv::simulation {

/// An EXIF segment with the picture's size and its time: DateTimeOriginal, SubSecTimeOriginal (milliseconds, truncated)
/// and OffsetTimeOriginal "+00:00".
std::vector<unsigned char> ExifSegment(UtcTime time, int width, int height);

}  // namespace kv::simulation
