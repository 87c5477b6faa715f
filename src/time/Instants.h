#pragma once

#include <KVMission.h>

#include <optional>
#include <string>
#include <string_view>

#include "time/FileTimes.h"

namespace kv::mission {

using namespace KVMission;

using FileTimeTicks = KVMission::Ticks;

inline constexpr std::chrono::sys_days kFileTimeOrigin = std::chrono::year{1601} / std::chrono::January / 1;

/// A file time beyond the calendar gives the last instant of the scale.
constexpr Instant FromFileTime(const FILETIME& time) {
  const auto ticks = static_cast<std::int64_t>(kv::Ticks(time));
  return Instant(kFileTimeOrigin) + (ticks < 0 ? FileTimeTicks::max() : FileTimeTicks(ticks));
}
FILETIME ToFileTime(Instant time);

/// @return nothing for fields that are not a valid calendar time of the years 1601-9999
std::optional<Instant> FromFields(int year, int month, int day, int hour, int minute, int second);

SYSTEMTIME ToSystemTime(Instant time);

constexpr double Seconds(FileTimeTicks span) { return std::chrono::duration<double>(span).count(); }

/// "2024-05-01"
std::string DateText(Date date);
/// "2024-05-01 12:34:56.789", truncated
std::string TimeText(Instant time);
/// "2024-05-01T12:34:56.789Z", truncated
std::string IsoText(Instant time);

/// @param text  YYYY-MM-DD, a date that exists
std::optional<Date> ParseDate(std::string_view text);

}  // namespace kv::mission
