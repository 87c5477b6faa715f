#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "KVRecords.h"
#include "readers/FieldFile.h"

/// Lines of a drone's timestamp file, see docs/formats/drone-timestamps.md.
namespace kv {

/// The numbers of an exposure.
struct DroneExposure {
  std::int32_t photoNumber;
  std::int32_t week;  ///< GPS
  double secondsOfWeek;
  double latitude, longitude;  ///< decimal degrees
  double height;               ///< metres above the ellipsoid
};

inline constexpr Delimiters kDroneDelimiters("\t, ");
inline constexpr std::size_t kDroneTokens = 14;     ///< fewest tokens of an exposure
inline constexpr std::size_t kAllDroneTokens = 20;  ///< with standard deviations and quality

/// @return nothing for a line with too few tokens or without a number where one belongs; ranges are not checked
std::optional<DroneExposure> ReadDroneExposure(std::span<const std::string_view> tokens);

/// What a line says about its place; nothing where a value is missing or stands under another label.
struct DroneAccuracy {
  struct Vector {
    double north, east, vertical;
  };
  std::optional<Vector> offset;      ///< from antenna to camera, millimetres, the vertical one downwards
  std::optional<Vector> deviations;  ///< standard deviations, metres
  std::optional<std::int32_t> flag;  ///< of the solution
};
DroneAccuracy ReadDroneAccuracy(std::span<const std::string_view> tokens);

/// A located camera event of camera 1, without a photo.
tagKVSystemEvent EventOf(const DroneExposure& exposure);

}  // namespace kv
