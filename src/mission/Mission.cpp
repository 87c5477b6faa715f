#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "base/Job.h"
#include "georef/EventTypes.h"
#include "mission/HandOver.h"
#include "mission/OutputKinds.h"
#include "mission/PosPoints.h"
#include "mission/Steps.h"
#include "mission/inputs/EventFile.h"
#include "mission/inputs/Inputs.h"
#include "mission/inputs/Trajectories.h"
#include "photos/PhotoFolder.h"
#include "platform/FileNames.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

/// A mission folder should have events and photos; a trajectory given by itself needs none.
void TellOfInputs(const Settings& settings, Job& job) {
  if (!settings.mission.empty() && !settings.trajectory.empty() && settings.events.empty())
    job.Add(Found::EventFileMissing);
  if (!settings.events.empty() && settings.camera1.empty() && settings.camera2.empty()) {
    const std::string seen = settings.mission.empty() ? "" : FoldersWithPhotos(settings.mission);
    job.Add(
        Found::PhotoFoldersMissing,
        {{"seen", seen.empty() ? seen : fmt::format("; photos are in {}: name them with --cam1 and --cam2", seen)}});
  }
  std::error_code notThere;
  if (!settings.camera1.empty() && fs::equivalent(settings.camera1, settings.camera2, notThere))
    job.Add(Found::PhotoFolderShared, {{"folder", Utf8(settings.camera1)}}, {.file = settings.camera1});
}

/// A target is that of a POS file, or of files for photogrammetry.
void CheckTarget(const Settings& settings) {
  const auto& rows = PhotogrammetryRows();
  const auto isWanted = [&](const OutputRow& row) { return IsWanted(row.kind.name, settings); };
  const bool isForPhotos = std::any_of(rows.begin(), rows.end(), isWanted);
  if (settings.pos.empty() ? !settings.target.empty() && !isForPhotos : settings.target.empty())
    throw Failure("--pos and --target go together: give both, or neither", Failure::Reason::WrongUsage);
  CheckHeights(settings);
}

/// Takes the inputs that are named, then those that are found.
Settings ResolveInputs(Settings settings, Job& job) {
  if (!settings.mission.empty()) FindMissionFiles(settings, job);
  SettleDroneInputs(settings, job);
  if (settings.trajectory.empty() && settings.timestamps.empty())
    throw Failure(fmt::format(
        "{}no trajectory found; give it with --trajectory FILE, or a drone's timestamps with --timestamps FILE",
        settings.mission.empty() ? "" : ContentOf(settings.mission) + ": "));
  CheckTarget(settings);
  if (!settings.output.empty()) settings.output = fs::absolute(settings.output).lexically_normal();
  TellOfInputs(settings, job);
  return settings;
}

/// Makes the exposures, with the reasons that keep them out of the photo layer, and grades their photos.
void TakeExposures(SystemEvents& events, const PhotosOfEvents& photos, const Trajectory& trajectory,
                   TrajectoryIndex& index, Mission& mission, Job& job) {
  mission.exposures = ExposuresOf(events, photos, mission, trajectory);
  PlaceCameras(trajectory, index, mission, job);
  for (const Exposure& exposure : mission.exposures) {
    for (Camera& camera : mission.cameras) {
      if (CameraOf(exposure.event) != camera.number) continue;
      camera.placed += IsPlaced(exposure.event);
      camera.dropped += exposure.drop.has_value();
    }
  }
  QualifyExposures(trajectory, index, mission, job);
  if (!mission.settings.grade) return;
  auto grades = GradeExposures(mission.exposures, mission.settings, mission.thumbnails, job);
  for (Camera& camera : mission.cameras) {
    if (camera.folder) camera.sharpness = std::move(grades[static_cast<std::size_t>(camera.number - 1)]);
  }
  CompleteThumbnails(mission, job);
}

/// Date for an export without one in its header: half a day before the first exposure or fix, so that an export that
/// begins a little earlier still falls into the week of the mission.
Instant DateForExport(const Mission& mission) {
  if (mission.settings.date) return *mission.settings.date;
  return (mission.timestamps ? *mission.timestamps->span.first : mission.trajectory->first) - std::chrono::hours{12};
}

void ReadExport(Mission& mission, Job& job) {
  const Settings& settings = mission.settings;
  const ApplanixExport& applanix =
      mission.applanix.emplace(ReadApplanixExport(settings.applanix, DateForExport(mission), job));
  if (!applanix.isDated && !settings.date && applanix.span.first)
    job.Add(Found::ExportWithoutDate, {{"date", DateText(std::chrono::floor<std::chrono::days>(*applanix.span.first))}},
            {.file = settings.applanix});
}

/// The mission of a drone: its exposures come with places.
void RunDrone(Mission& mission, Job& job) {
  SystemEvents events = ReadDroneEvents(mission, job);
  if (!mission.settings.applanix.empty()) ReadExport(mission, job);
  Trajectory trajectory;
  if (mission.applanix) trajectory = ApplyPostProcessed(mission.applanix->samples, events, mission, job);
  if (mission.pos) trajectory = ApplyPostProcessed(mission.pos->samples, events, mission, job);
  const std::vector<std::int32_t> numbers = mission.timestamps->photoNumbers;
  TrajectoryIndex index(trajectory.fixes);
  TakeExposures(events, PhotosOfEvents(events.size()), trajectory, index, mission, job);
  for (std::size_t i = 0; i < numbers.size(); ++i) mission.exposures[i].photoNumber = numbers[i];
}

void RunEvents(EventFile& file, TrajectoryIndex& index, Mission& mission, Job& job) {
  SystemEvents& events = file.events;
  TellOfEventsOutside(events, *mission.trajectory, job);  // first: it may explain what clocks show
  PhotosOfEvents photos;
  mission.cameras = PairCameras(mission.settings, events, photos, job);  // by the times of events, not of exposures
  DelayExposures(mission.settings, events);
  PlaceEvents(events, *mission.trajectory, index, job);
  file.heartbeatsPlaced = static_cast<std::size_t>(std::count_if(
      events.begin(), events.end(), [](auto& event) { return event.Type == kHeartbeat && IsPlaced(event); }));
  TakeExposures(events, photos, *mission.trajectory, index, mission, job);
}

/// The mission of the sensor: events get places from the trajectory, and photos by time or order.
void RunSensor(Mission& mission, Job& job) {
  const Settings& settings = mission.settings;
  if (!settings.housekeeping.empty()) mission.housekeeping = ReadHousekeepingLog(settings.housekeeping, job);
  if (!settings.events.empty()) {
    mission.events = ReadEventFile(settings.events, job, settings.eventOffsetSeconds);
    if (mission.events->events.empty())
      throw Failure(fmt::format("{}: no heartbeat and no camera event in {}", Utf8(settings.events),
                                Counted(mission.events->lines, "line")));
  }
  const std::optional<Instant> heartbeat = mission.events ? FirstHeartbeatTime(mission.events->events) : std::nullopt;
  mission.trajectory = ReadTrajectories(settings, {settings.date, heartbeat, true}, mission.trajectoryComparison, job);
  if (!settings.applanix.empty()) {
    ReadExport(mission, job);
    if (mission.applanix->samples.empty())
      job.Add(Found::ExportUnusable, {{"file", Utf8(settings.applanix)}}, {.file = settings.applanix});
  }
  CheckLeverArms(mission);
  TrajectoryIndex index(mission.trajectory->fixes);
  if (mission.housekeeping) PlaceEntries(*mission.housekeeping, index, job);
  EventFile none;
  RunEvents(mission.events ? *mission.events : none, index, mission, job);
  if (mission.events) mission.stations = FormStations(mission.exposures, settings.toleranceSeconds, job);
}

void TakePhotoExtent(Mission& mission, Job& job) {
  std::size_t cut = 0;
  std::string first;
  for (const Exposure& exposure : mission.exposures) {
    if (exposure.drop) continue;
    const tagKVSystemEvent& event = exposure.event;
    mission.photoBounds.Add(event.Latitude, event.Longitude, event.Altitude);
    mission.photoSpan.Add(*exposure.time);
    if (FitsPhotoPath(event.PhotoPath)) continue;
    if (cut++ == 0) first = Utf8(NativePath(event.PhotoPath.GetString()).filename());
  }
  if (cut > 0 && IsWanted("shp", mission.settings))
    job.Add(Found::PhotoPathsCut, {{"count", Count(cut)}, {"photo", first}}, {.photo = first});
}

bool IsComplete(const Mission& mission) {
  const auto isDropped = [](const Exposure& exposure) { return exposure.drop.has_value(); };
  if (std::any_of(mission.exposures.begin(), mission.exposures.end(), isDropped)) return false;
  if (mission.events && (mission.events->LinesLeftOut() > 0 || mission.events->timesDoubtful)) return false;
  if (mission.housekeeping && (mission.housekeeping->dropped > 0 || mission.housekeeping->endedAtLine)) return false;
  if (mission.pos && !mission.pos->IsComplete()) return false;
  if (mission.timestamps && !mission.timestamps->skipped.empty()) return false;
  if (mission.applanix && !mission.applanix->IsComplete()) return false;
  if (mission.timestamps && (mission.pos || mission.applanix) && !mission.positions) return false;
  if (mission.orientation && (mission.orientation->LinesLeftOut() > 0 || mission.orientation->untimed > 0))
    return false;
  return std::all_of(mission.cameras.begin(), mission.cameras.end(), [](const Camera& camera) {
    if (camera.sharpness && (!camera.sharpness->ungraded.empty() || !camera.sharpness->damaged.empty())) return false;
    if (camera.clock && camera.clock->state == ClockState::Ambiguous) return false;
    return camera.folder ? camera.pairing.unused.empty() : camera.read == 0;
  });
}

/// Most exposures without a place or a photo is not a result to go on with.
void TellWhenMostDropped(const Mission& mission, Job& job) {
  const auto& exposures = mission.exposures;
  const auto dropped = std::count_if(exposures.begin(), exposures.end(), [](auto& exposure) { return exposure.drop; });
  if (2 * dropped > std::ssize(exposures))
    job.Add(Found::MostExposuresDropped, {{"count", std::int64_t{dropped}}, {"exposures", Count(exposures.size())}});
}

/// Takes over the findings, those that matter most first.
void TakeFindings(Mission& mission, Job& job) {
  TellWhenMostDropped(mission, job);
  const auto isDoubt = [](const Finding& finding) { return finding.severity >= Severity::Doubt; };
  mission.doubtful = std::any_of(job.Findings().begin(), job.Findings().end(), isDoubt);
  if (mission.doubtful && !mission.HasPhotoLayer() && (mission.events || mission.timestamps))
    job.Add(Found::PhotoLayerWithheld);
  TellOfHandOver(mission, job);
  mission.findings = job.Findings();
  std::stable_sort(mission.findings.begin(), mission.findings.end(),
                   [](const Finding& a, const Finding& b) { return a.severity > b.severity; });
}

}  // namespace
}  // namespace kv::mission

KVMission::Mission KVMission::RunMission(const Settings& settings, Observer& observer) {
  using namespace kv::mission;
  Job job(observer);
  Mission mission;
  mission.settings = ResolveInputs(settings, job);
  const Settings& inputs = mission.settings;
  std::optional<tagKVCoordinateSystem> target;
  std::optional<OutputFolder> output;
  if (!settings.output.empty()) RefuseResultsAsInputs(settings.output, inputs);
  if (!inputs.target.empty()) target = ReadTargetSystem(inputs.target);
  // As given: to fold ".." in a path with links would lead elsewhere.
  if (!settings.output.empty()) output.emplace(settings.output, inputs.overwrite, ResultsOf(inputs), job);

  if (!inputs.pos.empty()) mission.pos = ReadPosPoints(inputs.pos, *target, inputs.jobs, job);
  if (!inputs.orientation.empty()) mission.orientation = ReadOrientationFile(inputs.orientation, job);
  inputs.timestamps.empty() ? RunSensor(mission, job) : RunDrone(mission, job);
  TakePhotoExtent(mission, job);
  TakeFindings(mission, job);
  mission.complete = IsComplete(mission);
  if (output) {
    WriteResults(mission, *output, job);
    output->Commit(job);
  }
  return mission;
}

void KVMission::WriteLayers(const Mission& mission, const std::filesystem::path& folder, bool overwrite,
                            Observer& observer) {
  using namespace kv::mission;
  Job job(observer);
  if (folder.empty()) throw Failure("a folder for the layers is missing", Failure::Reason::WrongUsage);
  RefuseResultsAsInputs(folder, mission.settings);
  OutputFolder output(folder, overwrite, ResultsOf(mission.settings), job);
  WriteResults(mission, output, job);
  output.Commit(job);
}
