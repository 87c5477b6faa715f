#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "KVRecords.h"
#include "platform/LocalCalendar.h"

/// Lines of the master clock, "tick,code". The code is a camera's number or the text of a heartbeat.
namespace kv {

struct Heartbeat {
  bool isValid;   ///< whether every value is in the calendar's range
  FILETIME time;  ///< UTC, taken through the calendar: day 31 of a 30-day month becomes the first of the next month; in
                  ///< the local calendar a time that a daylight-saving change skips moves by the change

  /// @throws std::out_of_range when it is not valid
  FILETIME ValidTime() const;
};

/// @param text      hhmmssDDMMYY, of a code-page or a wide line
/// @param calendar  use one per file
/// @return          nothing for a text that is not a whole number above 10 of 12 characters
template <class Char>
std::optional<Heartbeat> ReadHeartbeat(std::basic_string_view<Char> text, LocalCalendar& calendar);

struct EventLine {
  std::int64_t tick = 0;
  std::int64_t camera = 0;  ///< if there is no heartbeat
  std::optional<Heartbeat> heartbeat;
};

/// @param tokens  of a line in the code page, separated by commas
/// @return        nothing for a line that is neither a camera event nor a heartbeat
std::optional<EventLine> ReadEventLine(std::span<const std::string_view> tokens, LocalCalendar& calendar);

/// The records of a line. The tick may have been made continuous. A camera event has no time yet.
/// @param camera  its low 32 bits are kept
/// @param room    for the quality: setting one that is not longer takes no other memory
tagKVSystemEvent CameraEvent(double tick, std::int64_t camera, std::wstring_view room = L"NONE");
tagKVSystemEvent HeartbeatEvent(double tick, FILETIME time);

}  // namespace kv
