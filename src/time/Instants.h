#pragma once

#include <KVPlatform.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <ratio>
#include <string>
#include <string_view>

namespace kv::mission {

/// UTC on the library's own scale, so that a file time and an instant are the same number but for their origin.
using FileTimeTicks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
using Instant = std::chrono::sys_time<FileTimeTicks>;

/// A file time beyond the calendar gives the last instant of the scale.
Instant FromFileTime(const FILETIME& time);
FILETIME ToFileTime(Instant time);

/// @return nothing for fields that are no valid calendar time of the years 1601-9999
std::optional<Instant> FromFields(int year, int month, int day, int hour, int minute, int second);

SYSTEMTIME ToSystemTime(Instant time);

double Seconds(FileTimeTicks span);

/// Earliest and latest of the instants added.
struct TimeSpan {
  std::optional<Instant> first, last;

  void Add(Instant time) {
    if (!first || time < *first) first = time;
    if (!last || time > *last) last = time;
  }
};

/// "2024-05-01"
std::string DateText(std::chrono::sys_days date);
/// "2024-05-01 12:34:56.789", truncated
std::string TimeText(Instant time);
/// "2024-05-01T12:34:56.789Z", truncated
std::string IsoText(Instant time);

/// @param text  YYYY-MM-DD, a date that exists
std::optional<std::chrono::sys_days> ParseDate(std::string_view text);

}  // namespace kv::mission
