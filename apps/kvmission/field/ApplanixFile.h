#pragma once

#include <KVRecords.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Log.h"
#include "field/Times.h"
#include "field/Trajectory.h"

/// Text exports of post-processed Applanix trajectories.
/// @see docs/formats/applanix.md
namespace kv::mission {

/// Whether a line is the one that ends the header of an export.
bool EndsApplanixHeader(std::string_view line);

struct ApplanixFile {
  std::vector<tagKVPosEvent> samples;
  std::string report;   ///< of rows that could not be read; empty when there are none
  bool isDated = true;  ///< by its header
  std::string frame;    ///< "WGS84, TM", the mapping frame's datum and projection
  TimeSpan span;
  Bounds bounds;
};

/// Reads an export and warns of rows left out.
/// @param date  UTC time at which the mission began, or midnight before it; for a header without a date
/// @throws Failure without a sample, or without any date; when the file cannot be read
ApplanixFile ReadApplanixFile(const std::filesystem::path& path, std::optional<Instant> date, Log& log);

}  // namespace kv::mission
