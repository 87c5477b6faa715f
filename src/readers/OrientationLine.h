#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "KVRecords.h"
#include "platform/LocalCalendar.h"
#include "readers/EventLine.h"

/// Lines of orientation files: the sensor's own log with a date in each line, or the variant stamped by the master
/// clock. Tokens are comma-separated and widened from the code page.
/// @see docs/formats/orientation.md
namespace kv {

inline constexpr std::size_t kReadings = 7;                           // board temperature, three angles, three states
inline constexpr std::size_t kMostOrientationTokens = 3 + kReadings;  // in a line; later ones are ignored

/// Reads a line whose date is among the first three tokens. A time outside the calendar gives no file time.
/// @return nothing for a line without a date and seven numbers
std::optional<tagKVAosEvent> ReadDatedReading(std::span<const std::wstring_view> tokens);

/// A line of the variant.
struct ClockedReading {
  std::int64_t tick;
  std::optional<Heartbeat> heartbeat;
  tagKVAosEvent reading;  ///< if there is no heartbeat; has its tick but no time yet
};

/// @return nothing for a line without a tick, or without a heartbeat or seven numbers after it
std::optional<ClockedReading> ReadClockedReading(std::span<const std::wstring_view> tokens, LocalCalendar& calendar);

}  // namespace kv
