#include "mission/Steps.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <iterator>
#include <string>
#include <utility>

#include "georef/EventTypes.h"
#include "georef/LogEventLocations.h"
#include "platform/FileNames.h"
#include "platform/LargePages.h"
#include "time/Instants.h"
#include "time/LeapSeconds.h"

namespace kv::mission {
namespace {

constexpr double kTickRange = 4294967296;  // of the counter

/// Stretches between two fixes where nothing may be interpolated.
class Stretches {
 public:
  explicit Stretches(std::vector<Gap> stretches) : stretches_(std::move(stretches)) {
    std::sort(stretches_.begin(), stretches_.end(), [](const Gap& a, const Gap& b) { return a.from < b.from; });
  }
  /// @return null when the time is in none of them; the fixes at a stretch's ends are outside
  const Gap* At(Instant time) const {
    const auto after = std::lower_bound(stretches_.begin(), stretches_.end(), time,
                                        [](const Gap& gap, Instant instant) { return gap.from < instant; });
    return after != stretches_.begin() && time < std::prev(after)->to ? &*std::prev(after) : nullptr;
  }

 private:
  std::vector<Gap> stretches_;
};

bool IsCameraEvent(const tagKVSystemEvent& event) { return event.Type == kCameraEvent; }

/// Why events that have a time have no place.
class PlaceReasons {
 public:
  explicit PlaceReasons(const Trajectory& trajectory)
      : trajectory_(trajectory), gaps_(trajectory.gaps), crossings_(trajectory.crossings), jumps_(trajectory.jumps) {}

  bool Forbid(Instant time) const { return gaps_.At(time) || crossings_.At(time) || jumps_.At(time); }
  Drop Of(Instant time) const {
    if (trajectory_.fixes.empty()) return {DropCode::NoPlaceInFile};
    if (const Gap* gap = gaps_.At(time)) return {DropCode::InsideGap, Seconds(gap->to - gap->from)};
    if (crossings_.At(time)) return {DropCode::AcrossMeridian};
    if (jumps_.At(time)) return {DropCode::AcrossJump};
    if (time < trajectory_.first) return {DropCode::BeforeFirstFix};
    if (time > trajectory_.last) return {DropCode::AfterLastFix};
    return {DropCode::OffTrajectory};
  }

 private:
  const Trajectory& trajectory_;
  Stretches gaps_, crossings_, jumps_;
};

/// Where the camera events lie beside the trajectory.
struct EventsBeside {
  std::size_t timed = 0, before = 0, after = 0;
  TimeSpan span;

  std::size_t Outside() const { return before + after; }
};

EventsBeside Compare(const SystemEvents& events, const Trajectory& trajectory, FileTimeTicks shift) {
  EventsBeside beside;
  Instant first = Instant::max(), last = Instant::min();
  for (const auto& event : events) {
    if (event.Type != kCameraEvent || !HasTime(event)) continue;
    const Instant time = FromFileTime(event.TimeUTC) + shift;
    ++beside.timed;
    beside.before += time < trajectory.first;
    beside.after += time > trajectory.last;
    first = std::min(first, time), last = std::max(last, time);
  }
  if (beside.timed > 0) beside.span = {first, last};
  return beside;
}

/// The quarters of hours, by which local times differ from UTC, that bring events inside the trajectory.
/// @return nothing when there is no such difference
std::optional<std::chrono::seconds> ZoneOf(const SystemEvents& events, const Trajectory& trajectory,
                                           const EventsBeside& beside) {
  using Quarters = std::chrono::duration<std::int64_t, std::ratio<900>>;
  const FileTimeTicks apart = trajectory.first + (trajectory.last - trajectory.first) / 2 -
                              (*beside.span.first + (*beside.span.last - *beside.span.first) / 2);
  const Quarters zone = std::chrono::round<Quarters>(apart);
  if (abs(zone) > std::chrono::hours{15} || zone == Quarters{0} ||
      10 * Compare(events, trajectory, zone).Outside() > beside.Outside())
    return std::nullopt;
  return zone;
}

std::string AdviceFor(const std::optional<std::chrono::seconds>& zone) {
  if (!zone) return "are both of one day?";
  return fmt::format("{:g} h apart, as local time and UTC are: run again with --event-offset {}",
                     std::abs(static_cast<double>(zone->count())) / 3600, zone->count());
}

/// @param firstTick  of the heartbeats
DropCode WithoutTime(const EventFile& file, double tick, double firstTick) {
  if (file.heartbeats < 2) return DropCode::FewHeartbeats;
  if (!file.tickLengthKnown) return DropCode::TickLengthUnknown;
  return tick < firstTick ? DropCode::BeforeHeartbeats : DropCode::WrongHeartbeats;
}

/// @return nothing for an event that stays
std::optional<Drop> DropOf(const tagKVSystemEvent& event, const Mission& mission, double firstTick,
                           const PlaceReasons& places) {
  const Settings& settings = mission.settings;
  if (!HasTime(event)) {
    return Drop{mission.events ? WithoutTime(*mission.events, event.MasterTick, firstTick) : DropCode::FewHeartbeats};
  }
  if (!IsPlaced(event)) return places.Of(FromFileTime(event.TimeUTC));
  if ((settings.camera1.empty() && settings.camera2.empty()) || !event.PhotoPath.IsEmpty()) return std::nullopt;
  const bool hasFolder = !(CameraOf(event) == 1 ? settings.camera1 : settings.camera2).empty();
  return Drop{hasFolder ? DropCode::NoPhoto : DropCode::NoPhotoFolder};
}

struct DropWords {
  DropCode code;
  const char* key;
  const char* sentence;
};
constexpr auto kDropWords = std::to_array<DropWords>({
    {DropCode::FewHeartbeats, "few-heartbeats", "no time: fewer than two heartbeats"},
    {DropCode::TickLengthUnknown, "tick-length-unknown",
     "no time: the first and the last heartbeat do not tell how long a tick is"},
    {DropCode::BeforeHeartbeats, "before-heartbeats", "no time: the heartbeats do not reach its tick"},
    {DropCode::WrongHeartbeats, "wrong-heartbeats", "no time: the heartbeats next to it are wrong"},
    {DropCode::NoPlaceInFile, "no-place-in-file", "no place in the timestamp file"},
    {DropCode::InsideGap, "inside-gap", "no place: inside a gap of {seconds:.1f} s"},
    {DropCode::AcrossMeridian, "across-meridian", "no place: between two fixes across the 180th meridian"},
    {DropCode::AcrossJump, "across-jump", "no place: between two fixes that are impossibly far apart"},
    {DropCode::BeforeFirstFix, "before-first-fix", "no place: before the first fix"},
    {DropCode::AfterLastFix, "after-last-fix", "no place: after the last fix"},
    {DropCode::OffTrajectory, "off-trajectory", "no place on the trajectory"},
    {DropCode::NoAttitude, "no-attitude", "no place: no attitude to turn the lever arm by"},
    {DropCode::NoPhoto, "no-photo", "no photo"},
    {DropCode::NoPhotoFolder, "no-photo-folder", "no photo: no folder for this camera"},
});

const DropWords& WordsFor(DropCode code) {
  return *std::find_if(kDropWords.begin(), kDropWords.end(), [&](auto& words) { return words.code == code; });
}

}  // namespace

void TellOfEventsOutside(const SystemEvents& events, const Trajectory& trajectory, Job& job) {
  constexpr std::size_t kMany = 10;  // one in ten
  const EventsBeside beside = Compare(events, trajectory, {});
  if (beside.timed == 0) return;
  const std::chrono::seconds leapSeconds{LeapSecondsAt(*beside.span.first)};
  const auto zone = ZoneOf(events, trajectory, beside);
  if (2 * beside.Outside() > beside.timed || (zone && kMany * beside.Outside() > beside.timed)) {
    job.Add(Found::EventsOutsideTrajectory, {{"count", Count(beside.Outside())},
                                             {"events", Count(beside.timed)},
                                             {"from", *beside.span.first},
                                             {"to", *beside.span.last},
                                             {"trajectoryFrom", trajectory.first},
                                             {"trajectoryTo", trajectory.last},
                                             {"advice", AdviceFor(zone)}});
  } else if (beside.after > 0 && Compare(events, trajectory, -leapSeconds).Outside() == beside.before) {
    job.Add(Found::EventsMaybeInGpsTime,
            {{"count", Count(beside.after)}, {"seconds", std::int64_t{leapSeconds.count()}}});
  }
}

void PlaceEvents(SystemEvents& events, const Trajectory& trajectory, TrajectoryIndex& index, Job& job) {
  const PlaceReasons places(trajectory);
  std::size_t inGaps = 0;
  for (auto& event : events) {
    const bool isTimed = HasTime(event);  // second 0 is a time like others
    const bool isInGap = isTimed && IsCameraEvent(event) && places.Forbid(FromFileTime(event.TimeUTC));
    SetLocation(isTimed && !isInGap ? index.LocationAt(event.AdjGpsSec) : Location(), event);
    inGaps += isInGap;
  }
  if (inGaps > 0) job.Add(Found::ExposuresInGaps, {{"count", Count(inGaps)}});
}

void PlaceEntries(HousekeepingLog& housekeeping, TrajectoryIndex& index, Job& job) {
  LocateLogEvents(housekeeping.events, index);
  const auto isPlaced = [](const tagKVLogEvent& entry) { return !IsNullLocation(entry.Latitude, entry.Longitude); };
  std::size_t kept = 0;
  for (std::size_t i = 0; i < housekeeping.events.size(); ++i) {
    if (!isPlaced(housekeeping.events[i])) continue;
    housekeeping.known[kept] = housekeeping.known[i];
    std::swap(housekeeping.errorTexts[kept++], housekeeping.errorTexts[i]);
  }
  housekeeping.known.resize(kept), housekeeping.errorTexts.resize(kept);
  std::erase_if(housekeeping.events, std::not_fn(isPlaced));
  housekeeping.dropped = housekeeping.entries - housekeeping.events.size();
  const auto text = [](const std::optional<Instant>& time) { return time ? Value(*time) : Value("no time"); };
  if (housekeeping.dropped > 0)
    job.Add(Found::EntriesWithoutPlace, {{"count", Count(housekeeping.dropped)},
                                         {"entries", Count(housekeeping.entries)},
                                         {"from", text(housekeeping.span.first)},
                                         {"to", text(housekeeping.span.last)}});
}

std::vector<Exposure> ExposuresOf(SystemEvents& events, const PhotosOfEvents& photos, const Mission& mission,
                                  const Trajectory& trajectory) {
  const PlaceReasons places(trajectory);
  const auto heartbeat =
      std::find_if(events.begin(), events.end(), [](auto& event) { return event.Type == kHeartbeat; });
  const double firstTick = heartbeat == events.end() ? 0 : heartbeat->MasterTick;
  const bool hasWraps = mission.events && mission.events->wraps > 0;
  const auto count = static_cast<std::size_t>(std::count_if(events.begin(), events.end(), IsCameraEvent));
  std::vector<Exposure> exposures;
  SystemEvents others;
  ReserveInLargePages(exposures, count);
  ReserveInLargePages(others, events.size() - count);
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (!IsCameraEvent(events[i])) {
      others.push_back(std::move(events[i]));
      continue;
    }
    const auto drop = DropOf(events[i], mission, firstTick, places);
    Exposure& exposure = exposures.emplace_back(Exposure{.event = std::move(events[i])});
    exposure.drop = drop;
    exposure.photoDifferenceSeconds = photos[i].differenceSeconds;
    exposure.photoProbability = photos[i].probability;
    if (HasTime(exposure.event)) exposure.time = FromFileTime(exposure.event.TimeUTC);
    if (hasWraps) exposure.event.MasterTick = std::fmod(exposure.event.MasterTick, kTickRange);
  }
  events = std::move(others);  // what comes next gets the memory
  return exposures;
}

}  // namespace kv::mission

const char* KVMission::CodeOf(DropCode code) { return kv::mission::WordsFor(code).key; }

std::string KVMission::TextOf(const Drop& drop) {
  using namespace kv::mission;
  return SentenceOf(WordsFor(drop.code).sentence, {{"seconds", drop.seconds}});
}
