#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Job.h"

/// GPX files, read by GDAL's driver.
/// @see docs/formats/gpx.md
namespace kv::mission {

/// A point of a track, as far as it has these.
struct GpxPoint {
  static constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

  double latitude = kUnknown, longitude = kUnknown;  ///< degrees
  double elevation = kUnknown;                       ///< metres; above what, the format does not say
  double geoidHeight = kUnknown;                     ///< of the geoid above the ellipsoid, metres
  std::optional<Instant> time;
  bool hasFix = true;  ///< in three dimensions, or the file does not say
  FixQuality quality;
};

struct GpxTracks {
  std::size_t tracks = 0, segments = 0, others = 0;  ///< `others`: waypoints and points of routes
  std::vector<GpxPoint> points;                      ///< segments in order of the time they begin
};

/// Whether bytes begin like a GPX file.
bool BeginsLikeGpx(std::string_view head);

/// @throws Failure with GDAL's reason when the file cannot be read or is not sound XML, when numbers in it are not
///         numbers, when this GDAL reads no GPX; (Stopped)
GpxTracks ReadGpxTracks(const std::filesystem::path& path, Job& job);

}  // namespace kv::mission
