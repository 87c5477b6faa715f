#pragma once

#include <KVRecords.h>

#include <bitset>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Log.h"
#include "time/Instants.h"

/// Readings of a sensor log and their ranges, in the units of the log; of the housekeeping log those of battery and
/// temperatures.
namespace kv::mission {

struct ReadingName {
  const char* key;    ///< for programs
  const char* words;  ///< for people
};

struct Extreme {
  double value;
  std::optional<Instant> time;  ///< of the first entry with this value
};

struct ReadingRange {
  const ReadingName* name;
  Extreme lowest, highest;
};

/// @param name  outlives the range
void Widen(std::optional<ReadingRange>& range, const ReadingName& name, const Extreme& reading);

/// Says how many readings are in no range.
/// @param file  a word for it
/// @param line  of the first of them
void WarnOfUnread(const char* file, std::size_t count, std::size_t line, Log& log);

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
