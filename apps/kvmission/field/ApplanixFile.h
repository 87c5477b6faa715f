#pragma once

#include <KVRecords.h>

#include <filesystem>
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

/// Whether a sample is of the time since GPS began; others are of garbled weeks and seconds.
inline bool HasTime(const tagKVPosEvent& sample) {
  constexpr double kGpsEpoch = -1e9;  // in adjusted seconds
  return sample.AdjGpsSec >= kGpsEpoch;
}

struct ApplanixFile {
  std::vector<tagKVPosEvent> samples;
  std::string report;          ///< of rows that could not be read; empty when there are none
  std::size_t outOfRange = 0;  ///< rows of no time or no place on the Earth, not among the samples
  bool isDated = true;         ///< by its header
  std::string frame;           ///< "WGS84, TM", the mapping frame's datum and projection; empty when they are not known
  TimeSpan span;
  Bounds bounds;

  bool HasAllRows() const { return report.empty() && outOfRange == 0; }
};

/// Reads an export, be it without rows, and warns of rows left out.
/// @param date  UTC time at which the mission began, or midnight before it; for a header without a date
/// @throws Failure when columns are missing, or every row is left out; when the file cannot be read
ApplanixFile ReadApplanixFile(const std::filesystem::path& path, Instant date, Log& log);

}  // namespace kv::mission
