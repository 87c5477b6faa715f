#pragma once

#include <cstdint>

#include "georef/Interpolation.h"
#include "time/FileTimes.h"

namespace kv {

/// The values of `tagKVSystemEvent::Type`.
enum EventType : std::int32_t { kHeartbeat = 1, kCameraEvent = 2 };

/// 1 for camera 1; every other number counts as camera 2.
inline int CameraOf(const tagKVSystemEvent& event) { return event.CameraID == 1 ? 1 : 2; }

inline bool IsPlaced(const tagKVSystemEvent& event) { return !IsNullLocation(event.Latitude, event.Longitude); }

/// Whether the heartbeats, or a timestamp file, gave the event a time.
inline bool HasTime(const tagKVSystemEvent& event) { return static_cast<std::int64_t>(Ticks(event.TimeUTC)) > 0; }

}  // namespace kv
