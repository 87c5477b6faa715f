#pragma once

#include <KVRecords.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Log.h"
#include "mission/inputs/Readings.h"
#include "time/Instants.h"

/// Housekeeping logs: lines "severity,YYYY-MM-DD hh:mm:ss,device,readings or text"; later firmware has one more column
/// before the device.
namespace kv::mission {

/// Whether a line begins as an entry does: a word, then a date and a time of day.
bool IsHousekeepingLine(std::string_view line);

struct HousekeepingLog {
  std::size_t lines = 0;                 ///< up to where the scan ends
  std::size_t skipped = 0;               ///< lines of fewer than three fields, blank ones apart
  std::size_t faultyDates = 0;           ///< entries of no valid date and time
  std::optional<std::size_t> cutAtLine;  ///< from 1; the line that ends the scan because it is too long
  std::vector<std::string> errors;       ///< the log's own error lines
  std::vector<ReadingRange> readings;    ///< the range of each reading that the log has
  std::vector<tagKVLogEvent> events;
};

/// Reads a housekeeping log and warns of what the scan leaves out or takes as it is.
/// @param path     may be a pipe
/// @param scratch  folder for a copy, so that look and scan see the same lines
/// @throws Failure when a file cannot be read or written, or the user interrupts
HousekeepingLog ReadHousekeepingLog(const std::filesystem::path& path, const std::filesystem::path& scratch, Log& log);

/// @return nothing for an entry of no valid date and time
std::optional<Instant> TimeOf(const tagKVLogEvent& event);

/// From the earliest to the latest entry.
TimeSpan SpanOf(const std::vector<tagKVLogEvent>& events);

}  // namespace kv::mission
