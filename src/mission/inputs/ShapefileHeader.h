#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace kv::mission {

/// The first 100 bytes of a .shp file, and the number of records from the .shx beside it.
struct ShapefileHeader {
  std::int32_t type = 0;
  std::optional<std::uint64_t> records;  ///< nothing without a .shx
  double west = 0, south = 0, east = 0, north = 0;
  double lowest = 0, highest = 0;  ///< of the Z values; 0 for a type without
};

/// @return nothing when the file is too short
std::optional<ShapefileHeader> ReadShapefileHeader(const std::filesystem::path& path);

/// "PointZ"; "unknown" for a number that is no shape type.
const char* ShapeTypeName(std::int32_t type);

}  // namespace kv::mission
