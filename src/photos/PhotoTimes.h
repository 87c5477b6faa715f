#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "time/Instants.h"

/// When a photo was taken, according to its name or its EXIF data.
namespace kv::mission {

/// Finds a stamp YYMMDD_HHMMSS anywhere in a name, without another digit right before or after it. UTC, years 2000-2099.
/// @return the first stamp that is a valid time
std::optional<Instant> StampTime(std::wstring_view name);

/// Finds a stamp YYYYMMDDhhmmss likewise, as drones name photos.
std::optional<Instant> DroneStampTime(std::wstring_view name);

struct ExifTime {
  Instant time;
  bool zoneKnown;  ///< otherwise the camera's clock is taken for UTC
};

/// DateTimeOriginal and SubSecTimeOriginal, converted to UTC by OffsetTimeOriginal.
/// @param exif  content of a JPEG file's EXIF segment
/// @return      nothing without a valid DateTimeOriginal
std::optional<ExifTime> ExifTimeOriginal(const std::vector<unsigned char>& exif);

}  // namespace kv::mission
