#pragma once

#include <vector>

#include "simulation/MissionTime.h"

namespace kv::simulation {

/// Makes an EXIF segment with the picture's size and time: DateTimeOriginal, SubSecTimeOriginal (milliseconds,
/// truncated) and OffsetTimeOriginal "+00:00".
std::vector<unsigned char> ExifSegment(UtcTime time, int width, int height);

}  // namespace kv::simulation
