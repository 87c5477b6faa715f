#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Job.h"
#include "georef/EventRecords.h"
#include "platform/LocalCalendar.h"

/// System event files, read with care.
/// @see docs/formats/system-events.md
namespace kv::mission {

enum class EventKind {
  Heartbeat,
  FaultyHeartbeat,  ///< twelve characters, but not a valid time
  CameraEvent,
  Other,
};

/// What a line is. The rest is filled only for a heartbeat or a camera event.
struct ClassifiedEvent {
  EventKind kind = EventKind::Other;
  std::int64_t tick = 0;
  std::int64_t camera = 0;
  std::optional<Instant> time = {};  ///< of a heartbeat
};

/// @param calendar  UTC
ClassifiedEvent ClassifyEvent(std::string_view line, LocalCalendar& calendar);

/// Reads what is sound in a system event file and reports the rest. Ticks are made continuous across wraps of the
/// counter. A camera event from before the first heartbeat has no time.
/// @param offsetSeconds  added to all times
/// @throws Failure when the file cannot be read; (Stopped)
EventFile ReadEventFile(const std::filesystem::path& path, Job& job, double offsetSeconds = 0);

/// @return nothing when there is no heartbeat
std::optional<Instant> FirstHeartbeatTime(const std::vector<tagKVSystemEvent>& events);

}  // namespace kv::mission
