#pragma once

#include <KVRecords.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Log.h"
#include "field/Readings.h"
#include "field/Times.h"

/// Files of the orientation sensor: its own log with a date in each line, or the variant that the master clock stamps.
/// @see docs/formats/orientation.md
namespace kv::mission {

enum class OrientationLine { None, Dated, Clocked };

/// What a line with exactly the seven readings is stamped by.
OrientationLine ClassifyOrientation(std::string_view line);

struct OrientationFile {
  bool byMasterClock = false;
  std::size_t lines = 0, skipped = 0;  ///< lines that are neither blank, a reading nor a heartbeat
  std::size_t heartbeats = 0;
  std::size_t readings = 0, untimed = 0;
  TimeSpan span;                     ///< of the readings with a time
  std::vector<ReadingRange> ranges;  ///< board temperature, pitch and roll
};

/// Reads an orientation sensor file of either kind and warns of what it lacks.
/// @throws Failure without a reading, with a heartbeat that is no time, or when the file cannot be read
OrientationFile ReadOrientationFile(const std::filesystem::path& path, Log& log);

}  // namespace kv::mission
