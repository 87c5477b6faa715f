#include "mission/Placing.h"

#include <KVUtilities.h>

#include <algorithm>

#include "base/Failure.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

using Events = std::vector<tagKVSystemEvent>;

/// Stretches between two fixes where nothing may be interpolated.
class Stretches {
 public:
  explicit Stretches(std::vector<Gap> stretches) : stretches_(std::move(stretches)) {
    std::sort(stretches_.begin(), stretches_.end(), [](const Gap& a, const Gap& b) { return a.from < b.from; });
  }
  /// @return null when the time lies in none; a fix at its ends is none
  const Gap* At(Instant time) const {
    const auto after = std::lower_bound(stretches_.begin(), stretches_.end(), time,
                                        [](const Gap& gap, Instant instant) { return gap.from < instant; });
    return after != stretches_.begin() && time < std::prev(after)->to ? &*std::prev(after) : nullptr;
  }

 private:
  std::vector<Gap> stretches_;
};

void ClearPlace(tagKVSystemEvent& event) { event.Latitude = event.Longitude = event.Altitude = 0; }

/// @param firstTick  of the heartbeats
const char* WithoutTime(const EventLog& log, double tick, double firstTick) {
  if (log.heartbeats < 2) return "no time: fewer than two heartbeats";
  if (!log.tickLengthKnown) return "no time: the first and the last heartbeat do not tell how long a tick is";
  return tick < firstTick ? "no time: the heartbeats do not reach its tick"
                          : "no time: the heartbeats next to it are wrong";
}

/// Why events with a time have no place.
class PlaceReasons {
 public:
  explicit PlaceReasons(const Trajectory& trajectory)
      : trajectory_(trajectory), gaps_(trajectory.gaps), crossings_(trajectory.crossings) {}

  bool Forbid(Instant time) const { return gaps_.At(time) || crossings_.At(time); }
  std::string Of(Instant time) const {
    if (trajectory_.observations.empty()) return "no place in the timestamp file";
    if (const Gap* gap = gaps_.At(time))
      return fmt::format("no place: inside a gap of {:.1f} s", Seconds(gap->to - gap->from));
    if (crossings_.At(time)) return "no place: between two fixes across the 180th meridian";
    if (time < trajectory_.first) return "no place: before the first fix";
    if (time > trajectory_.last) return "no place: after the last fix";
    return "no place on the trajectory";
  }

 private:
  const Trajectory& trajectory_;
  Stretches gaps_, crossings_;
};

bool HasPhotos(const Settings& inputs) { return inputs.camera1 || inputs.camera2; }

const char* WithoutPhoto(int camera, const Settings& inputs) {
  const bool hasFolder = (camera == 1 ? inputs.camera1 : inputs.camera2).has_value();
  return hasFolder ? "no photo" : "no photo: no folder for this camera";
}

/// @return empty for an event that stays
std::string ReasonToDrop(const tagKVSystemEvent& event, const EventLog& log, double firstTick,
                         const PlaceReasons& places, const Settings& inputs) {
  if (!HasTime(event)) return WithoutTime(log, event.MasterTick, firstTick);
  if (!IsPlaced(event)) return places.Of(FromFileTime(event.TimeUTC));
  if (HasPhotos(inputs) && event.PhotoPath.IsEmpty()) return WithoutPhoto(CameraOf(event), inputs);
  return {};
}

}  // namespace

void PlaceEvents(Events& events, Trajectory& trajectory, Log& log) {
  std::wstring error;
  if (!KVUtilities::PopulateSystemEventLocationsUsingTrajectory(events, trajectory.observations, error))
    throw Failure(Utf8(error));
  const PlaceReasons places(trajectory);
  std::size_t inGaps = 0;
  for (auto& event : events) {
    if (!HasTime(event)) {
      ClearPlace(event);  // second 0 is a time like others
    } else if (event.Type == kCameraEvent && places.Forbid(FromFileTime(event.TimeUTC))) {
      ClearPlace(event);
      ++inGaps;
    }
  }
  if (inGaps > 0)
    log.Warn("{} inside trajectory gaps or across the 180th meridian: dropped", Counted(inGaps, "camera event"));
}

std::size_t PlaceLogEntries(HousekeepingLog& housekeeping, Trajectory& trajectory, Log& log) {
  auto& events = housekeeping.events;
  const TimeSpan span = SpanOf(events);
  const std::size_t all = events.size();
  std::wstring error;
  if (!KVUtilities::PopulateLogEventLocationsUsingTrajectory(events, trajectory.observations, error))
    throw Failure(Utf8(error));
  KVUtilities::RemoveLogEventsAtNullLocation(events, error);
  const std::size_t removed = all - events.size();
  if (removed > 0)
    log.Warn("log: {} of {} dropped without a place on the trajectory; the log is of {} to {}", removed,
             all == 1 ? "1 entry" : fmt::format("{} entries", all), span.first ? TimeText(*span.first) : "no time",
             span.last ? TimeText(*span.last) : "no time");
  return removed;
}

std::vector<Drop> DropUnusable(EventLog& log, const Trajectory& trajectory, const Settings& inputs) {
  Events& events = log.events;
  const PlaceReasons places(trajectory);
  const tagKVSystemEvent* heartbeat = FirstHeartbeat(events);
  const double firstTick = heartbeat ? heartbeat->MasterTick : 0;
  std::vector<Drop> drops;
  for (std::size_t i = 0; i < events.size(); ++i) {
    auto& event = events[i];
    if (event.Type != kCameraEvent) continue;
    std::string reason = ReasonToDrop(event, log, firstTick, places, inputs);
    event.MasterTick = TickInFile(event.MasterTick, log);
    if (reason.empty()) continue;
    const auto time = HasTime(event) ? std::optional(FromFileTime(event.TimeUTC)) : std::nullopt;
    Drop& drop = drops.emplace_back(event.CameraID, std::nullopt, std::nullopt, time, std::move(reason));
    if (log.photoNumbers.empty()) {
      drop.tick = event.MasterTick;
    } else {
      drop.photoNumber = log.photoNumbers[i];
    }
  }
  int heartbeats = 0, cameraEvents = 0;
  std::wstring error;
  KVUtilities::RemoveSystemEventsAtNullLocation(events, heartbeats, cameraEvents, error);
  std::erase_if(events, [](const tagKVSystemEvent& event) { return event.Type != kCameraEvent; });
  return drops;
}

void DropWithoutPhoto(Events& events, const Settings& inputs) {
  int removed = 0;
  std::wstring error;
  if (HasPhotos(inputs)) KVUtilities::RemoveCameraSystemEventsWithEmptyImagePaths(events, removed, error);
}

}  // namespace kv::mission
