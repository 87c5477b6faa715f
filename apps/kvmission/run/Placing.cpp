#include "run/Placing.h"

#include <KVUtilities.h>

#include <algorithm>

#include "Failure.h"
#include "System.h"

namespace kv::mission {
namespace {

using Events = std::vector<tagKVSystemEvent>;

void WarnOfEventsInGaps(const Events& events, const Trajectory& trajectory, Log& log) {
  std::vector<Gap> gaps = trajectory.gaps;
  std::sort(gaps.begin(), gaps.end(), [](const Gap& a, const Gap& b) { return a.from < b.from; });
  const auto isInGap = [&](const tagKVSystemEvent& event) {
    if (event.Type != kCameraEvent || !HasTime(event)) return false;
    const Instant time = FromFileTime(event.TimeUTC);
    const auto after = std::lower_bound(gaps.begin(), gaps.end(), time,
                                        [](const Gap& gap, Instant instant) { return gap.from < instant; });
    return after != gaps.begin() && time < std::prev(after)->to;
  };
  const auto count = std::count_if(events.begin(), events.end(), isInGap);
  if (count > 0)
    log.Warn("{} inside trajectory gaps: places there are interpolated across",
             Counted(static_cast<std::size_t>(count), "camera event"));
}

const char* WithoutTime(const EventLog& log) {
  return log.heartbeats < 2 ? "no time: fewer than two heartbeats" : "no time: the heartbeats do not reach its tick";
}

const char* WithoutPlace(Instant time, const Trajectory& trajectory) {
  if (time < trajectory.first) return "no place: before the first fix";
  if (time > trajectory.last) return "no place: after the last fix";
  return "no place on the trajectory";
}

bool HasPhotos(const Settings& inputs) { return inputs.camera1 || inputs.camera2; }

const char* WithoutPhoto(int camera, const Settings& inputs) {
  const bool hasFolder = (camera == 1 ? inputs.camera1 : inputs.camera2).has_value();
  return hasFolder ? "no photo" : "no photo: no folder for this camera";
}

/// @return null for an event that stays
const char* ReasonToDrop(const tagKVSystemEvent& event, const EventLog& log, const Trajectory& trajectory,
                         const Settings& inputs) {
  if (!HasTime(event)) return WithoutTime(log);
  if (!IsPlaced(event)) return WithoutPlace(FromFileTime(event.TimeUTC), trajectory);
  if (HasPhotos(inputs) && event.PhotoPath.IsEmpty()) return WithoutPhoto(CameraOf(event), inputs);
  return nullptr;
}

}  // namespace

void PlaceEvents(Events& events, Trajectory& trajectory, Log& log) {
  std::wstring error;
  if (!KVUtilities::PopulateSystemEventLocationsUsingTrajectory(events, trajectory.observations, error))
    throw Failure(Utf8(error));
  for (auto& event : events) {
    if (!HasTime(event)) event.Latitude = event.Longitude = event.Altitude = 0;  // second 0 is a time like others
  }
  WarnOfEventsInGaps(events, trajectory, log);
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
  std::vector<Drop> drops;
  for (auto& event : events) {
    if (event.Type != kCameraEvent) continue;
    event.MasterTick = TickInFile(event.MasterTick, log);
    const char* reason = ReasonToDrop(event, log, trajectory, inputs);
    if (!reason) continue;
    const auto time = HasTime(event) ? std::optional(FromFileTime(event.TimeUTC)) : std::nullopt;
    drops.push_back({event.CameraID, event.MasterTick, time, reason});
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
