#pragma once

#include <cstdint>

namespace kv {

/// The values of `tagKVSystemEvent::Type`.
enum EventType : std::int32_t { kHeartbeat = 1, kCameraEvent = 2 };

}  // namespace kv
