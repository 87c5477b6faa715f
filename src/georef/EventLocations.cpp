#include <string>
#include <vector>

#include "KVUtilities.h"
#include "base/ErrorText.h"
#include "georef/LogEventLocations.h"
#include "georef/TrajectoryIndex.h"

namespace {

// Also used for log events, on purpose.
constexpr wchar_t kUnexpectedError[] = L"Unexpected error computing system event locations.";

}  // namespace

bool KVUtilities::PopulateLogEventLocationsUsingTrajectory(std::vector<tagKVLogEvent>& events,
                                                           std::vector<tagKVTrajectoryObs>& trajectory,
                                                           std::wstring& error) try {
  error.clear();
  kv::TrajectoryIndex index(trajectory);
  kv::LocateLogEvents(events, index);
  return true;
} catch (...) {
  kv::Report(error, kUnexpectedError);
  return false;
}

bool KVUtilities::PopulateSystemEventLocationsUsingTrajectory(std::vector<tagKVSystemEvent>& events,
                                                              std::vector<tagKVTrajectoryObs>& trajectory,
                                                              std::wstring& error) try {
  error.clear();
  kv::TrajectoryIndex index(trajectory);
  for (tagKVSystemEvent& event : events) kv::SetLocation(index.LocationAt(event.AdjGpsSec), event);
  return true;
} catch (...) {
  kv::Report(error, kUnexpectedError);
  return false;
}
