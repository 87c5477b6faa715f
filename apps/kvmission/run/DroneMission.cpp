#include "run/DroneMission.h"

#include <algorithm>
#include <map>
#include <string>

#include "Failure.h"
#include "System.h"
#include "field/PhotoFolder.h"
#include "run/Placing.h"
#include "run/PositionDifferences.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

PhotoFolder ListPhotos(const fs::path& path) {
  PhotoFolder folder;
  folder.path = (fs::absolute(path) / "").lexically_normal().parent_path();
  for (const auto& name : PhotosIn(path)) folder.photos.push_back({WidePath(name), std::nullopt});
  return folder;
}

/// Photos of a number that no exposure found a photo by, and photos that serve several. Of one number the photos that
/// were not taken are not missed.
Pairing PairingOf(const PhotoFolder& folder, const DroneTimestamps& timestamps) {
  Pairing pairing;
  pairing.mode = PairMode::Number;
  const std::size_t nameAt = PhotoNameAt(folder.path);
  std::map<std::wstring, std::size_t> uses;
  std::vector<std::int32_t> numbers;
  for (std::size_t i = 0; i < timestamps.events.size(); ++i) {
    const CStringW& photo = timestamps.events[i].PhotoPath;
    if (photo.IsEmpty()) continue;
    ++pairing.paired;
    numbers.push_back(timestamps.photoNumbers[i]);
    if (++uses[photo.GetString()] == 2) pairing.shared.push_back(std::wstring(photo.GetString()).substr(nameAt));
  }
  std::sort(numbers.begin(), numbers.end());
  for (const Photo& photo : folder.photos) {
    const auto number = PhotoNumber(Utf8(photo.name));
    if (!number || !std::binary_search(numbers.begin(), numbers.end(), *number)) pairing.unused.push_back(photo.name);
  }
  return pairing;
}

void WarnOfPairing(const CameraSummary& camera, Log& log) {
  const Pairing& pairing = camera.pairing;
  if (pairing.paired < camera.read)
    log.Warn("{} without a photo: dropped", Counted(camera.read - pairing.paired, "exposure"));
  if (!pairing.unused.empty())
    log.Warn("{} without an exposure, first {}", Counted(pairing.unused.size(), "photo"), Utf8(pairing.unused[0]));
  if (!pairing.shared.empty())
    log.Warn("{} more than one exposure, first {}",
             pairing.shared.size() == 1 ? "1 photo serves" : fmt::format("{} photos serve", pairing.shared.size()),
             Utf8(pairing.shared[0]));
}

/// A sample between two that are in order of time while it is not, as one garbled digit makes it; so at the beginning.
bool IsOutlier(const tagKVTrajectoryObs* before, const tagKVTrajectoryObs& sample, const tagKVTrajectoryObs& next,
               const tagKVTrajectoryObs* afterNext) {
  const double time = sample.AdjGpsSec;
  if (before) return before->AdjGpsSec <= next.AdjGpsSec && (time < before->AdjGpsSec || time > next.AdjGpsSec);
  return afterNext && next.AdjGpsSec <= afterNext->AdjGpsSec && time > next.AdjGpsSec;
}

/// @return how many were taken out
std::size_t TakeOutOutliers(std::vector<tagKVTrajectoryObs>& observations) {
  std::size_t kept = 0;
  const std::size_t count = observations.size();
  for (std::size_t i = 0; i < count; ++i) {
    const bool isOut = i + 1 < count && IsOutlier(kept > 0 ? &observations[kept - 1] : nullptr, observations[i],
                                                  observations[i + 1], i + 2 < count ? &observations[i + 2] : nullptr);
    if (isOut) continue;
    if (kept != i) observations[kept] = std::move(observations[i]);
    ++kept;
  }
  observations.resize(kept);
  return count - kept;
}

std::vector<tagKVTrajectoryObs> ObservationsOf(const std::vector<tagKVPosEvent>& samples, Log& log) {
  std::vector<tagKVTrajectoryObs> observations;
  observations.reserve(samples.size());
  for (const auto& sample : samples) {
    if (!HasTime(sample)) continue;
    tagKVTrajectoryObs& observation = observations.emplace_back();
    observation.TimeUTC = sample.TimeUTC, observation.SystemTimeUTC = sample.SystemTimeUTC;
    observation.AdjGpsSec = sample.AdjGpsSec;
    observation.Latitude = sample.Latitude, observation.Longitude = sample.Longitude;
    observation.Altitude = sample.Height;
  }
  const std::size_t untimed = samples.size() - observations.size(), outliers = TakeOutOutliers(observations);
  if (untimed > 0) log.Warn("post-processed trajectory: {} without a valid time: left out", Counted(untimed, "sample"));
  if (outliers > 0)
    log.Warn("post-processed trajectory: {} out of the order of time: left out", Counted(outliers, "single sample"));
  return observations;
}

/// A folder that cannot be listed holds none; the timestamp file in it may be readable all the same.
bool HoldsPhotos(const fs::path& folder, Log& log) {
  try {
    return !PhotosIn(folder).empty();
  } catch (const Failure& failure) {
    log.Warn("{}", failure.what());
    return false;
  }
}

/// One sensible set of inputs, or a sentence that says what does not go together.
std::string ComplaintAbout(const Settings& settings) {
  const bool hasPostProcessed = settings.pos || settings.applanix;
  if (!settings.mrk && settings.photos) return "--photos are those of a drone mission; give --mrk as well";
  if (!settings.mrk && settings.position) return "--position is for a drone mission; give --mrk as well";
  if (!settings.mrk) return {};
  if (settings.trajectory || settings.events || settings.log || settings.camera1 || settings.camera2)
    return "a drone mission has --mrk and --photos, but no trajectory, event file, log or cam1 and cam2";
  if (settings.pos && settings.applanix) return "--pos and --applanix are both a post-processed trajectory; give one";
  if (settings.position == PositionSource::PostProcessed && !hasPostProcessed)
    return "--position pos needs a post-processed trajectory: give --pos and --target, or --applanix";
  return {};
}

}  // namespace

void SettleDroneInputs(Settings& settings, Log& log) {
  const std::string complaint = ComplaintAbout(settings);
  if (!complaint.empty()) throw Failure(complaint, ExitCode::WrongUsage);
  if (!settings.mrk) return;
  if (settings.pair || settings.camera1Offset || settings.camera2Offset || settings.tolerance)
    log.Warn("--pair, --cam1-offset, --cam2-offset and --tolerance change nothing in a drone mission");
  const fs::path beside = fs::absolute(*settings.mrk).parent_path();
  if (!settings.photos && HoldsPhotos(beside, log)) settings.photos = beside;
  if (!settings.photos) log.Warn("no photos in {}: exposures stay without photos", Utf8(beside));
  settings.camera1 = settings.photos;
}

EventLog ReadDroneEvents(const fs::path& scratch, Summary& summary, Log& log) {
  CameraSummary camera;
  camera.camera = 1;
  if (summary.inputs.photos) camera.folder = ListPhotos(*summary.inputs.photos);
  DroneTimestamps timestamps = ReadDroneTimestamps(
      *summary.inputs.mrk, camera.folder ? std::optional(camera.folder->path) : std::nullopt, scratch, log);
  camera.read = timestamps.events.size();
  camera.placed = static_cast<std::size_t>(std::count_if(timestamps.events.begin(), timestamps.events.end(), IsPlaced));
  if (camera.folder) {
    camera.pairing = PairingOf(*camera.folder, timestamps);
    WarnOfPairing(camera, log);
  }
  summary.cameras.push_back(std::move(camera));
  EventLog events;
  events.events = std::move(timestamps.events);
  events.photoNumbers = timestamps.photoNumbers;
  summary.timestamps = std::move(timestamps);
  return events;
}

Trajectory ApplyPostProcessed(const std::vector<tagKVPosEvent>& samples, std::vector<tagKVSystemEvent>& events,
                              Summary& summary, Log& log) {
  auto observations = ObservationsOf(samples, log);
  if (observations.empty()) throw Failure("the post-processed trajectory has no sample with a valid time");
  Trajectory trajectory = InspectedTrajectory(std::move(observations), summary.inputs.maxGap.value_or(kDefaultMaxGap));
  WarnOfTrajectory(trajectory, kPostProcessedWords, log);
  std::vector<tagKVSystemEvent> placed = events;
  const bool isTaken = summary.inputs.position == PositionSource::PostProcessed;
  Log unheard(Verbosity::Quiet);  // one sentence counts gaps and ends
  PlaceEvents(placed, trajectory, unheard);
  PositionDifferences& differences = summary.positions.emplace(Compare(events, placed));
  differences.used = isTaken ? PositionSource::PostProcessed : PositionSource::Timestamps;
  if (differences.outside > 0)
    log.Warn("{} outside the post-processed trajectory of {} to {} or in a gap of it: {}",
             Counted(differences.outside, "exposure"), TimeText(trajectory.first), TimeText(trajectory.last),
             isTaken ? "dropped" : "not compared");
  if (!isTaken) return {};
  events = std::move(placed);
  summary.cameras[0].placed = static_cast<std::size_t>(std::count_if(events.begin(), events.end(), IsPlaced));
  return trajectory;
}

}  // namespace kv::mission
