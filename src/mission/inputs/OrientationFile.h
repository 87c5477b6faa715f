#pragma once

#include <KVRecords.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/LineNumbers.h"
#include "base/Log.h"
#include "mission/inputs/Readings.h"
#include "time/Instants.h"

/// Files of the orientation sensor: its own log with a date in each line, or the variant that the master clock stamps.
/// @see docs/formats/orientation.md
namespace kv::mission {

enum class OrientationLine { None, Dated, Clocked };

/// What a line with the seven readings is stamped by.
OrientationLine ClassifyOrientation(std::string_view line);

struct OrientationFile {
  bool byMasterClock = false;
  std::size_t lines = 0;
  LineNumbers skipped;           ///< neither blank, a reading nor a heartbeat
  LineNumbers faultyHeartbeats;  ///< without a valid date and time
  LineNumbers wildTicks;         ///< readings and heartbeats with a tick far from those beside them
  LineNumbers offHeartbeats;     ///< off the line of time over ticks that the others are on
  std::size_t heartbeats = 0;    ///< that are not left out
  std::size_t readings = 0, untimed = 0;
  TimeSpan span;                     ///< of the readings with a time
  std::vector<ReadingRange> ranges;  ///< board temperature, pitch and roll

  std::size_t LinesLeftOut() const {
    return skipped.size() + faultyHeartbeats.size() + wildTicks.size() + offHeartbeats.size();
  }
};

/// Reads an orientation sensor file of either kind and warns of what it lacks. The scan places a reading from before
/// the first heartbeat after it, misreads wraps of the tick counter, and believes every tick and the last heartbeat; here
/// the first has no time, the ticks are continuous, and stamps that contradict the others are left out.
/// @param scratch  folder for the checked copy
/// @throws Failure without a reading; when a file cannot be read or written, or the user interrupts
OrientationFile ReadOrientationFile(const std::filesystem::path& path, const std::filesystem::path& scratch, Log& log);

}  // namespace kv::mission
