#include <cstddef>
#include <string>
#include <vector>

#include "KVUtilities.h"
#include "base/ErrorText.h"
#include "georef/Interpolation.h"
#include "georef/TrajectoryIndex.h"
#include "platform/LargePages.h"

namespace {

using kv::IsNullLocation;
using kv::Location;

// Also used for log events, on purpose.
constexpr wchar_t kUnexpectedError[] = L"Unexpected error computing system event locations.";

template <typename Event>
std::vector<Location> OwnLocations(const std::vector<Event>& events,
                                   const std::vector<tagKVTrajectoryObs>& trajectory) {
  kv::TrajectoryIndex index(trajectory);
  std::vector<Location> locations;
  kv::ReserveInLargePages(locations, events.size());
  for (const Event& event : events) locations.push_back(index.LocationAt(event.AdjGpsSec));
  return locations;
}

template <typename Event>
void Store(const std::vector<Location>& locations, std::vector<Event>& events) {
  for (std::size_t i = 0; i < events.size(); ++i) {
    events[i].Latitude = locations[i].latitude;
    events[i].Longitude = locations[i].longitude;
    events[i].Altitude = locations[i].altitude;
  }
}

// An unplaced event takes the place of the nearest later event that has one, else of the nearest earlier one. On
// purpose event 0 never lends to later ones. If all fail, the last location tried stays, altitude included: that of
// event 1, or for event 0 that of the last event.
void LendToUnplaced(std::vector<Location>& locations) {
  if (locations.size() < 2) return;
  const Location lastTriedByFirst = locations.back();
  std::size_t lender = locations.size() - 1;  // lends to all after it
  while (lender > 1 && IsNullLocation(locations[lender])) --lender;
  for (std::size_t i = lender + 1; i < locations.size(); ++i) locations[i] = locations[lender];
  for (std::size_t i = lender; i-- > 1;) {
    if (IsNullLocation(locations[i])) locations[i] = locations[i + 1];
  }
  if (!IsNullLocation(locations[0])) return;
  locations[0] = IsNullLocation(locations[1]) ? lastTriedByFirst : locations[1];
}

}  // namespace

bool KVUtilities::PopulateLogEventLocationsUsingTrajectory(std::vector<tagKVLogEvent>& events,
                                                           std::vector<tagKVTrajectoryObs>& trajectory,
                                                           std::wstring& error) try {
  error.clear();
  std::vector<Location> locations = OwnLocations(events, trajectory);
  LendToUnplaced(locations);
  Store(locations, events);
  return true;
} catch (...) {
  kv::Report(error, kUnexpectedError);
  return false;
}

bool KVUtilities::PopulateSystemEventLocationsUsingTrajectory(std::vector<tagKVSystemEvent>& events,
                                                              std::vector<tagKVTrajectoryObs>& trajectory,
                                                              std::wstring& error) try {
  error.clear();
  Store(OwnLocations(events, trajectory), events);
  return true;
} catch (...) {
  kv::Report(error, kUnexpectedError);
  return false;
}
