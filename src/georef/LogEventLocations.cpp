#include "georef/LogEventLocations.h"

#include <cstddef>

#include "platform/LargePages.h"

namespace kv {
namespace {

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

void LocateLogEvents(std::vector<tagKVLogEvent>& events, TrajectoryIndex& index) {
  std::vector<Location> locations;
  ReserveInLargePages(locations, events.size());
  for (const tagKVLogEvent& event : events) locations.push_back(index.LocationAt(event.AdjGpsSec));
  LendToUnplaced(locations);
  for (std::size_t i = 0; i < events.size(); ++i) SetLocation(locations[i], events[i]);
}

}  // namespace kv
