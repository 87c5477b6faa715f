#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "KVRecords.h"
#include "platform/LocalCalendar.h"
#include "readers/EventLine.h"

/// Lines of orientation files: the sensor's own log with a date in each line, or the variant that the master clock
/// stamps. Tokens are those of a line in code-page text, separated by commas.
/// @see docs/formats/orientation.md
namespace kv {

inline constexpr std::size_t kReadings = 7;                           // board temperature, three angles, three states
inline constexpr std::size_t kMostOrientationTokens = 3 + kReadings;  // that count in a line

/// A reading whose date is among the first three tokens; a time outside the calendar gives no file time.
/// @return nothing for a line without a date and seven numbers
std::optional<tagKVAosEvent> ReadDatedReading(std::span<const std::wstring_view> tokens);

/// A line of the variant.
struct ClockedReading {
  std::int64_t tick;
  std::optional<Heartbeat> heartbeat;
  tagKVAosEvent reading;  ///< without a heartbeat; it has its tick and no time yet
};

/// @return nothing for a line without a tick, and a heartbeat or seven numbers
std::optional<ClockedReading> ReadClockedReading(std::span<const std::wstring_view> tokens, LocalCalendar& calendar);

}  // namespace kv
