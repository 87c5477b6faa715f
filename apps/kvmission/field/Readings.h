#pragma once

#include <KVRecords.h>

#include <bitset>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "field/Times.h"

/// Battery and temperature readings of a housekeeping log, in the units of the log.
namespace kv::mission {

struct ReadingKind {
  const char* key;        ///< for programs
  const char* words;      ///< for people
  const wchar_t* source;  ///< description of the entries that carry it
  double tagKVLogEvent::*value;
  std::size_t place;  ///< of its field in the line, counted from the end from 0: firmware moves the beginning
};

struct Extreme {
  double value;
  std::optional<Instant> time;  ///< of the first entry with this value
};

struct ReadingRange {
  const ReadingKind* kind;
  Extreme lowest, highest;
};

/// Which of the last fields of a line are numbers, by place.
using NumberFields = std::bitset<7>;
NumberFields FindNumbers(std::string_view line);

struct Readings {
  std::vector<ReadingRange> ranges;  ///< of each reading that the log has
  std::vector<std::size_t> unread;   ///< the entry of each reading that is no finite number, and in no range
};

/// @param numbers  for each entry, those of its line
Readings ReadingsOf(const std::vector<tagKVLogEvent>& events, const std::vector<NumberFields>& numbers);

}  // namespace kv::mission
