#include "georef/StationForming.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "platform/LargePages.h"
#include "time/FileTimes.h"

namespace kv {
namespace {

using Station = tagKVExposureStation;

// The camera events that no station has taken yet, grouped by time and in sequence order inside a group. Groups that
// still have events are linked in time order. Only the first of a group is ever taken: as the visited event because no
// earlier one is open, or as a partner because it is the earliest with its difference.
template <class Event>
class OpenEvents {
 public:
  struct Nearest {
    double seconds = std::numeric_limits<double>::infinity();
    std::size_t event = 0;
  };

  /// @param events  must stay in place and keep their times
  explicit OpenEvents(std::span<Event* const> events) : events_(events), groupOf_(events.size()) {
    inTimeOrder_.reserve(events.size());
    groups_.reserve(events.size() + 1);
    for (std::size_t i = 0; i < events.size(); ++i) inTimeOrder_.push_back(i);
    const auto ticks = [&](std::size_t event) { return TicksOf(*events[event]); };
    // Cameras write in order: then sorting would only wait for memory.
    if (!std::ranges::is_sorted(inTimeOrder_, {}, ticks)) std::ranges::stable_sort(inTimeOrder_, {}, ticks);
    groups_.push_back({0, 0, kNone, kNone});  // the end of the links in both directions
    for (std::size_t at = 0; at < inTimeOrder_.size(); ++at) {
      if (at == 0 || Ticks(at - 1) != Ticks(at)) groups_.push_back({at, at, groups_.size() - 1, groups_.size() + 1});
      ++groups_.back().end;
      groupOf_[inTimeOrder_[at]] = groups_.size() - 1;
    }
    groups_.back().later = kNone;
  }

  /// @param event  must not follow an open one
  bool IsOpen(std::size_t event) const {
    const Group& group = groups_[groupOf_[event]];
    return group.first != group.end && inTimeOrder_[group.first] == event;
  }

  /// @param event  the first of its group
  void Take(std::size_t event) {
    Group& group = groups_[groupOf_[event]];
    if (++group.first != group.end) return;
    groups_[group.earlier].later = group.later;
    groups_[group.later].earlier = group.earlier;
  }

  /// @param event  just taken
  /// @return       the open event with the smallest difference in seconds; among equals the first in sequence
  Nearest NearestTo(std::size_t event) const {
    const Group& own = groups_[groupOf_[event]];
    if (own.first != own.end) return {0.0, inTimeOrder_[own.first]};
    Nearest nearest;
    for (auto link : {&Group::earlier, &Group::later}) {
      // Differences grow along the links, but decades apart two of them can round to one double.
      for (std::size_t group = own.*link; group != kNone; group = groups_[group].*link) {
        const std::size_t first = inTimeOrder_[groups_[group].first];
        const double seconds = SecondsBetween(events_[first]->TimeUTC, events_[event]->TimeUTC);
        if (seconds > nearest.seconds) break;
        if (seconds < nearest.seconds || first < nearest.event) nearest = {seconds, first};
      }
    }
    return nearest;
  }

 private:
  static constexpr std::size_t kNone = 0;

  struct Group {
    std::size_t first, end;      // of its open events in `inTimeOrder_`
    std::size_t earlier, later;  // the next groups with open events
  };

  static std::uint64_t TicksOf(const Event& event) { return kv::Ticks(event.TimeUTC); }
  std::uint64_t Ticks(std::size_t at) const { return TicksOf(*events_[inTimeOrder_[at]]); }

  std::span<Event* const> events_;
  std::vector<std::size_t> inTimeOrder_;
  std::vector<std::size_t> groupOf_;
  std::vector<Group> groups_;
};

double Middle(double a, double b) { return a + (b - a) * 0.5; }

// The partner's camera is not checked, on purpose: two events of one camera may form a pair, and callers see the fault
// in the station.
template <class Event>
Station PairedStation(Event& visited, Event& partner, double seconds) {
  const bool isVisitedEarlier = Ticks(visited.TimeUTC) < Ticks(partner.TimeUTC);
  const FILETIME earlier = isVisitedEarlier ? visited.TimeUTC : partner.TimeUTC;
  const FILETIME middle = AddTicks(earlier, SecondsToTicks(seconds * 0.5));
  const bool isCamera1 = visited.CameraID == 1;
  return {Middle(visited.Latitude, partner.Latitude),
          Middle(visited.Longitude, partner.Longitude),
          Middle(visited.Altitude, partner.Altitude),
          middle,
          SystemTimeOrZero(middle),
          std::move(isCamera1 ? visited : partner),
          std::move(isCamera1 ? partner : visited)};
}

// An event of type 0 with the same time stands in for the other camera.
template <class Event>
Station SingleStation(Event& visited) {
  tagKVSystemEvent placeholder;
  placeholder.TimeUTC = visited.TimeUTC;
  placeholder.SystemTimeUTC = SystemTimeOrZero(visited.TimeUTC);
  const bool isCamera1 = visited.CameraID == 1;
  return {visited.Latitude,
          visited.Longitude,
          visited.Altitude,
          visited.TimeUTC,
          placeholder.SystemTimeUTC,
          std::move(isCamera1 ? visited : placeholder),
          std::move(isCamera1 ? placeholder : visited)};
}

}  // namespace

template <class Event>
void FormStations(std::span<Event* const> events, double toleranceSeconds, std::vector<Station>& stations) {
  OpenEvents<Event> open(events);
  ReserveInLargePages(stations, (events.size() + 1) / 2);  // enough if all are pairs
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (!open.IsOpen(i)) continue;
    open.Take(i);
    const auto [seconds, partner] = open.NearestTo(i);
    if (std::abs(toleranceSeconds) > seconds) {
      open.Take(partner);
      stations.push_back(PairedStation(*events[i], *events[partner], seconds));
    } else {
      stations.push_back(SingleStation(*events[i]));
    }
  }
}
template void FormStations(std::span<tagKVSystemEvent* const>, double, std::vector<Station>&);
template void FormStations(std::span<const tagKVSystemEvent* const>, double, std::vector<Station>&);

}  // namespace kv
