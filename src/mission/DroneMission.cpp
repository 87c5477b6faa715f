#include "mission/DroneMission.h"

#include <algorithm>
#include <map>
#include <string>

#include "base/Failure.h"
#include "mission/Placing.h"
#include "mission/PositionDifferences.h"
#include "mission/inputs/PostProcessed.h"
#include "photos/PhotoFolder.h"
#include "platform/FileNames.h"

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

/// The photos are those beside the timestamp file, where there are any. A folder that cannot be listed holds none; the
/// timestamp file in it may be readable all the same.
void FindPhotos(Settings& settings, Log& log) {
  constexpr const char* kEffect = "exposures stay without photos";
  const fs::path beside = fs::absolute(*settings.mrk).parent_path();
  try {
    if (!PhotosIn(beside).empty()) {
      settings.photos = beside;
    } else {
      log.Warn("no photos in {}: {}", Utf8(beside), kEffect);
    }
  } catch (const Failure& failure) {
    log.Warn("{}: {}", failure.what(), kEffect);
  }
}

/// @return what a drone mission does without, separated by commas
std::string UselessOptions(const Settings& settings) {
  std::string names;
  const auto add = [&](const char* name, bool isGiven) {
    if (isGiven) (names += names.empty() ? "" : ", ") += name;
  };
  add("--pair", settings.pair.has_value());
  add("--cam1-offset", settings.camera1Offset.has_value());
  add("--cam2-offset", settings.camera2Offset.has_value());
  add("--tolerance", settings.tolerance.has_value());
  return names;
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
  if (const std::string useless = UselessOptions(settings); !useless.empty())
    log.Warn("without effect in a drone mission: {}", useless);
  if (!settings.photos) FindPhotos(settings, log);
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
  const Settings& inputs = summary.inputs;
  const bool isTaken = inputs.position == PositionSource::PostProcessed;
  if (observations.empty()) {
    const std::string complaint =
        fmt::format("{}: {}", Utf8(inputs.applanix ? *inputs.applanix : *inputs.pos), kNoUsableSample);
    if (isTaken) throw Failure(complaint);
    log.Warn("{}: places are not compared", complaint);
    return {};
  }
  Trajectory trajectory = InspectedTrajectory(std::move(observations), inputs.maxGap.value_or(kDefaultMaxGap));
  WarnOfTrajectory(trajectory, kPostProcessedWords, log);
  std::vector<tagKVSystemEvent> placed = events;
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
