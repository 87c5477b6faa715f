#pragma once

#include <KVRecords.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Log.h"
#include "georef/EventRecords.h"
#include "time/Instants.h"

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
  bool isBlank = false;
  std::optional<Instant> time;  ///< of a heartbeat; a day beyond the month's end counts into the next month
};

/// The kind that the event reader will see in a line without the blanks at its end.
EventLine ParseEventLine(std::string_view line);

struct EventLog {
  std::size_t lines = 0;
  // What was left out, by line number, from 1.
  LineNumbers skipped;           ///< neither blank nor an event
  LineNumbers faultyHeartbeats;  ///< without a valid date and time
  LineNumbers wildTicks;         ///< with a tick far from those before and after
  LineNumbers offHeartbeats;     ///< with another time than the rest of the heartbeats give to their tick

  std::size_t wraps = 0;                   ///< of the 32-bit tick counter
  std::size_t heartbeats = 0;              ///< among the events
  bool heartbeatsAgree = true;             ///< lie on one line of time over ticks
  bool tickLengthKnown = true;             ///< from the first and the last heartbeat; else no camera event has a time
  bool timesDoubtful = false;              ///< a warning says why
  std::vector<tagKVSystemEvent> events;    ///< with continuous ticks: each wrap adds 2^32
  std::vector<std::int32_t> photoNumbers;  ///< of a drone's events, which have no ticks; else empty
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
