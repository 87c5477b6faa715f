#pragma once

#include <KVRecords.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/Log.h"
#include "mission/inputs/Trajectory.h"
#include "time/Instants.h"

/// Text exports of post-processed Applanix trajectories.
/// @see docs/formats/applanix.md
namespace kv::mission {

/// Whether a line is the one that ends the header of an export.
bool EndsApplanixHeader(std::string_view line);

struct ApplanixFile {
  std::vector<tagKVPosEvent> samples;
  std::string report;          ///< of rows that could not be read; empty when there are none
  std::size_t outOfRange = 0;  ///< rows of no time or no place on the Earth, not among the samples
  std::size_t outOfOrder = 0;  ///< single rows out of the order of time, not among the samples either
  bool isDated = true;         ///< by its header
  std::string
      frame;  ///< "WGS84, TM", the mapping frame's datum and projection; empty when the header or every row lacks
  TimeSpan span;
  Bounds bounds;

  /// Rows are there, and none was left out.
  bool IsComplete() const { return !samples.empty() && report.empty() && outOfRange == 0 && outOfOrder == 0; }
};

/// Reads an export, be it without rows or with none that can be used, and warns of rows left out.
/// @param date  UTC time at which the mission began, or midnight before it; for a header without a date
/// @throws Failure without a header, or when it lacks columns; when the file cannot be opened
ApplanixFile ReadApplanixFile(const std::filesystem::path& path, Instant date, Log& log);

}  // namespace kv::mission
