#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Job.h"

/// GPX files.
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

/// @throws Failure with the reason when the file cannot be read, is not sound XML, or has an elevation, geoid height,
///         count of satellites or dilution of precision that is not a number; (Stopped)
GpxTracks ReadGpxTracks(const std::filesystem::path& path, Job& job);

}  // namespace kv::mission
