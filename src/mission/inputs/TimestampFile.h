#pragma once

#include <KVRecords.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "base/LineNumbers.h"
#include "base/Log.h"
#include "mission/inputs/Trajectory.h"
#include "time/Instants.h"

/// Timestamp files of a drone's camera: a line for each exposure with photo number, GPS time and place.
/// @see docs/formats/drone-timestamps.md
namespace kv::mission {

/// @return the photo number of a line that is an exposure, at a time and place that exist
std::optional<std::int32_t> ExposureNumber(std::string_view line);

/// @param name  of a photo: 12 for "DJI_20230816103011_0012_W.JPG"
std::optional<std::int32_t> PhotoNumber(std::string_view name);

struct DroneTimestamps {
  std::size_t lines = 0;
  LineNumbers skipped;                     ///< from 1; neither blank nor an exposure
  std::vector<tagKVSystemEvent> events;    ///< one for each exposure
  std::vector<std::int32_t> photoNumbers;  ///< of the events
  TimeSpan span;
  Bounds bounds;
};

/// Reads a timestamp file and warns of lines left out.
/// @param photos   absolute folder of its photos; their paths have the system's own separator before the name
/// @param scratch  folder for a copy, so that look and scan see the same lines
/// @throws Failure without an exposure; when a file cannot be read or written, or the user interrupts
DroneTimestamps ReadDroneTimestamps(const std::filesystem::path& path,
                                    const std::optional<std::filesystem::path>& photos,
                                    const std::filesystem::path& scratch, Log& log);

}  // namespace kv::mission
