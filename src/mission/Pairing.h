#pragma once

#include <KVRecords.h>

#include <optional>
#include <string>
#include <vector>

#include "base/Log.h"
#include "photos/PhotoFolder.h"

namespace kv::mission {

enum class PairMode { Time, Order, Number };

/// "time", "order", "number"
constexpr const char* WordFor(PairMode mode) {
  return mode == PairMode::Time ? "time" : mode == PairMode::Order ? "order" : "number";
}

/// Camera 1, or camera 2, which every other number counts as.
inline int CameraOf(const tagKVSystemEvent& event) { return event.CameraID == 1 ? 1 : 2; }

/// How the photos of one camera found their events.
struct Pairing {
  PairMode mode = PairMode::Time;
  std::size_t paired = 0;            ///< events with a photo
  std::vector<std::wstring> unused;  ///< photos without an event
  std::vector<std::wstring> shared;  ///< photos that serve two events or more
  std::optional<double> largest;     ///< difference of time between photo, with the offset, and event, in seconds
  std::optional<double> median;      ///< of the same magnitudes
};

/// Gives the camera events of one camera their photos.
/// @param mode    nothing lets the photos decide: by time when most of them have one
/// @param offset  seconds, added to every photo's time
/// @param events  of all cameras, in the order of the event file; an event without a time is paired by order only
/// @throws Failure when the library cannot find the folder for pairing by order
Pairing PairPhotos(int camera, const PhotoFolder& folder, std::optional<PairMode> mode, double offset,
                   std::vector<tagKVSystemEvent>& events, Log& log);

}  // namespace kv::mission
