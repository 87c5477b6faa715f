#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "time/Instants.h"

/// When a photo was taken, as its name or its EXIF data tell.
namespace kv::mission {

/// The stamp YYMMDD_HHMMSS anywhere in a name, with no further digit before or behind it; UTC, years 2000-2099.
/// @return the first one that is a valid time
std::optional<Instant> StampTime(std::wstring_view name);

struct ExifTime {
  Instant time;
  bool zoneKnown;  ///< else the camera's own clock is taken for UTC
};

/// DateTimeOriginal with SubSecTimeOriginal, turned to UTC by OffsetTimeOriginal.
/// @param exif  content of a JPEG file's EXIF segment
std::optional<ExifTime> ExifTimeOriginal(const std::vector<unsigned char>& exif);

}  // namespace kv::mission
