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

/// Photos that no exposure has the number of, and those that serve several.
Pairing PairingOf(const PhotoFolder& folder, const DroneTimestamps& timestamps) {
  Pairing pairing;
  pairing.mode = PairMode::Number;
  std::vector<std::int32_t> numbers = timestamps.photoNumbers;
  std::sort(numbers.begin(), numbers.end());
  for (const Photo& photo : folder.photos) {
    const auto number = PhotoNumber(Utf8(photo.name));
    if (!number || !std::binary_search(numbers.begin(), numbers.end(), *number)) pairing.unused.push_back(photo.name);
  }
  const std::size_t nameAt = WidePath(folder.path).size() + 1;
  std::map<std::wstring, std::size_t> uses;
  for (const auto& event : timestamps.events) {
    if (event.PhotoPath.IsEmpty()) continue;
    ++pairing.paired;
    if (++uses[event.PhotoPath.GetString()] == 2)
      pairing.shared.push_back(std::wstring(event.PhotoPath.GetString()).substr(nameAt));
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

std::vector<tagKVTrajectoryObs> ObservationsOf(const std::vector<tagKVPosEvent>& samples) {
  std::vector<tagKVTrajectoryObs> observations;
  observations.reserve(samples.size());
  for (const auto& sample : samples) {
    tagKVTrajectoryObs& observation = observations.emplace_back();
    observation.TimeUTC = sample.TimeUTC, observation.SystemTimeUTC = sample.SystemTimeUTC;
    observation.AdjGpsSec = sample.AdjGpsSec;
    observation.Latitude = sample.Latitude, observation.Longitude = sample.Longitude;
    observation.Altitude = sample.Height;
  }
  return observations;
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
  const fs::path beside = fs::absolute(*settings.mrk).parent_path();
  if (!settings.photos && !PhotosIn(beside).empty()) settings.photos = beside;
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
  Trajectory trajectory = InspectedTrajectory(ObservationsOf(samples), summary.inputs.maxGap.value_or(kDefaultMaxGap));
  std::vector<tagKVSystemEvent> placed = events;
  const bool isTaken = summary.inputs.position == PositionSource::PostProcessed;
  Log unheard(Verbosity::Quiet);  // what is only compared is not dropped
  PlaceEvents(placed, trajectory, isTaken ? log : unheard);
  PositionDifferences& differences = summary.positions.emplace(Compare(events, placed));
  differences.used = isTaken ? PositionSource::PostProcessed : PositionSource::Timestamps;
  if (differences.outside > 0)
    log.Warn("{} outside the post-processed trajectory of {} to {}: {}", Counted(differences.outside, "exposure"),
             TimeText(trajectory.first), TimeText(trajectory.last), isTaken ? "dropped" : "not compared");
  if (!isTaken) return {};
  events = std::move(placed);
  summary.cameras[0].placed = static_cast<std::size_t>(std::count_if(events.begin(), events.end(), IsPlaced));
  return trajectory;
}

}  // namespace kv::mission
