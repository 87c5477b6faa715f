#include <string>
#include <vector>

#include "KVUtilities.h"
#include "georef/EventTypes.h"
#include "georef/Interpolation.h"

namespace {

using kv::kCameraEvent, kv::kHeartbeat;

template <typename Event>
bool IsUnplaced(const Event& event) {
  return kv::IsNullLocation(event.Latitude, event.Longitude);
}

}  // namespace

bool KVUtilities::RemoveSystemEventsAtNullLocation(std::vector<tagKVSystemEvent>& events, int& heartbeatsRemoved,
                                                   int& cameraEventsRemoved, std::wstring& error) {
  error.clear();
  heartbeatsRemoved = 0;
  cameraEventsRemoved = 0;
  for (const tagKVSystemEvent& event : events) {
    if (!IsUnplaced(event)) continue;
    if (event.Type == kHeartbeat) ++heartbeatsRemoved;
    if (event.Type == kCameraEvent) ++cameraEventsRemoved;  // other types go uncounted
  }
  return std::erase_if(events, IsUnplaced<tagKVSystemEvent>) > 0;
}

bool KVUtilities::RemoveCameraSystemEventsWithEmptyImagePaths(std::vector<tagKVSystemEvent>& events, int& removed,
                                                              std::wstring& error) {
  error.clear();
  removed = static_cast<int>(std::erase_if(
      events, [](const tagKVSystemEvent& event) { return event.Type == kCameraEvent && event.PhotoPath.IsEmpty(); }));
  return removed > 0;
}

bool KVUtilities::RemoveLogEventsAtNullLocation(std::vector<tagKVLogEvent>& events, std::wstring& error) {
  error.clear();
  return std::erase_if(events, IsUnplaced<tagKVLogEvent>) > 0;
}
