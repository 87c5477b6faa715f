#pragma once

#include <KVRecords.h>

#include <optional>
#include <vector>

#include "field/Times.h"

/// Battery and temperature readings of a housekeeping log, in the units of the log.
namespace kv::mission {

struct ReadingKind {
  const char* key;        ///< for programs
  const char* words;      ///< for people
  const wchar_t* source;  ///< description of the entries that carry it
  double tagKVLogEvent::*value;
};

struct Extreme {
  double value;
  std::optional<Instant> time;  ///< of the first entry with this value
};

struct ReadingRange {
  const ReadingKind* kind;
  Extreme lowest, highest;
};

/// @return the range of each reading that the log has
std::vector<ReadingRange> ReadingRanges(const std::vector<tagKVLogEvent>& events);

}  // namespace kv::mission
