#pragma once

#include <KVRecords.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "Log.h"
#include "field/Times.h"

/// System event files: lines "tick,code", where the code is a camera number or a heartbeat's time hhmmssDDMMYY.
namespace kv::mission {

enum class EventKind {
  Heartbeat,
  FaultyHeartbeat,  ///< of twelve characters, but no time of the calendar: the event reader would give up the whole
                    ///< file
  CameraEvent,
  Other,
};

struct EventLine {
  EventKind kind = EventKind::Other;
  std::int64_t tick = 0;
  std::string_view code;
  std::optional<Instant> time;  ///< of a heartbeat; a day beyond the month's end counts into the next month
};

/// The kind that the event reader will see in a line.
EventLine ParseEventLine(std::string_view line);

struct EventLog {
  std::size_t lines = 0;
  std::size_t skipped = 0;                    ///< lines that are no event
  std::vector<std::size_t> faultyHeartbeats;  ///< line numbers, from 1
  std::size_t wraps = 0;                      ///< of the 32-bit tick counter
  std::size_t heartbeats = 0;                 ///< among the events
  std::vector<tagKVSystemEvent> events;       ///< with continuous ticks: each wrap adds 2^32
};

/// Checks a system event file, reads what is sound in it and warns about the rest. The event reader's arithmetic does
/// not reach across a wrap of the tick counter; it gets continuous ticks instead. It mirrors the time of a camera event
/// before the first heartbeat to after it; here such an event has no time.
/// @param scratch  folder for the checked copy
/// @throws Failure when a file cannot be read or written, or the user interrupts
EventLog ReadEvents(const std::filesystem::path& path, const std::filesystem::path& scratch, Log& log);

/// @return null when there is none
const tagKVSystemEvent* FirstHeartbeat(const std::vector<tagKVSystemEvent>& events);

/// Whether the heartbeats gave the event a time.
bool HasTime(const tagKVSystemEvent& event);

/// The count that the file has for a continuous tick.
double TickInFile(double continuousTick, const EventLog& log);

inline constexpr int kHeartbeat = 1;    ///< `Type` of an event
inline constexpr int kCameraEvent = 2;  ///< `Type` of an event

}  // namespace kv::mission
