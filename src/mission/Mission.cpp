#include "mission/Mission.h"

#include <algorithm>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "mission/DroneMission.h"
#include "mission/MissionFolder.h"
#include "mission/OutputFolder.h"
#include "mission/Placing.h"
#include "mission/TargetSystem.h"
#include "mission/inputs/EventFile.h"
#include "mission/inputs/HousekeepingLog.h"
#include "mission/inputs/LineWriter.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;
using Events = std::vector<tagKVSystemEvent>;

/// A mission folder promises events and photos; a trajectory given by itself does not.
void WarnOfInputs(const RunRequest& request, const Settings& settings, Log& log) {
  if (request.mission && settings.trajectory && !settings.events) log.Warn("no event file: trajectory layers only");
  if (settings.events && !settings.camera1 && !settings.camera2)
    log.Warn("no photo folder: events stay without photos");
  std::error_code notThere;
  if (settings.camera1 && settings.camera2 && fs::equivalent(*settings.camera1, *settings.camera2, notThere))
    log.Warn("both cameras have the photo folder {}", Utf8(*settings.camera1));
}

/// Command line before mission.toml before finding.
Settings ResolveInputs(const RunRequest& request, Log& log) {
  Settings settings = request.settings;
  if (request.mission) {
    FillIn(settings, ReadMissionSettings(*request.mission));
    FindMissionFiles(*request.mission, settings, log);
  }
  SettleDroneInputs(settings, log);
  if (!settings.trajectory && !settings.mrk)
    throw Failure("no trajectory found; give it with --trajectory FILE, or a drone's timestamps with --mrk FILE");
  if (settings.pos.has_value() != settings.target.has_value())
    throw Failure("a POS file needs a target coordinate system, and the other way round: give --pos and --target",
                  ExitCode::WrongUsage);
  WarnOfInputs(request, settings, log);
  return settings;
}

std::optional<PairMode> ModeFor(const Settings& settings) {
  const PairChoice choice = settings.pair.value_or(PairChoice::Auto);
  if (choice == PairChoice::Auto) return std::nullopt;
  return choice == PairChoice::Time ? PairMode::Time : PairMode::Order;
}

EventSummary Summarise(const EventLog& log) {
  EventSummary summary;
  summary.lines = log.lines, summary.wraps = log.wraps, summary.heartbeats = log.heartbeats;
  summary.skipped = log.skipped.size(), summary.faultyHeartbeats = log.faultyHeartbeats.size();
  summary.wildTicks = log.wildTicks.size(), summary.offHeartbeats = log.offHeartbeats.size();
  summary.timesDoubtful = log.timesDoubtful;
  for (const auto& event : log.events) {
    summary.heartbeatsPlaced += event.Type == kHeartbeat && IsPlaced(event);
    if (HasTime(event)) summary.span.Add(FromFileTime(event.TimeUTC));
  }
  return summary;
}

EventLog ReadUsableEvents(const fs::path& path, const fs::path& scratch, Log& log) {
  EventLog events = ReadEvents(path, scratch, log);
  if (events.events.empty())
    throw Failure(fmt::format("{}: no heartbeat and no camera event in {}", Utf8(path), Counted(events.lines, "line")));
  return events;
}

CameraSummary PairCamera(int camera, const Settings& settings, Events& events, Log& log) {
  CameraSummary summary;
  summary.camera = camera;
  for (const auto& event : events) {
    if (event.Type != kCameraEvent || CameraOf(event) != camera) continue;
    ++summary.read;
    summary.placed += IsPlaced(event);
  }
  const auto& folder = camera == 1 ? settings.camera1 : settings.camera2;
  if (!folder) return summary;
  summary.offset = (camera == 1 ? settings.camera1Offset : settings.camera2Offset).value_or(0);
  summary.folder = ReadPhotoFolder(*folder, camera, log);
  summary.pairing = PairPhotos(camera, *summary.folder, ModeFor(settings), summary.offset, events, log);
  return summary;
}

void PairCameras(Events& events, Summary& summary, Log& log) {
  for (const int camera : {1, 2}) {
    CameraSummary cameraSummary = PairCamera(camera, summary.inputs, events, log);
    if (cameraSummary.read > 0 || cameraSummary.folder) summary.cameras.push_back(std::move(cameraSummary));
  }
}

void NoteDrops(std::vector<Drop> drops, Summary& summary) {
  for (auto& camera : summary.cameras) {
    const auto isOwn = [&](const Drop& drop) { return (drop.camera == 1 ? 1 : 2) == camera.camera; };
    camera.dropped = static_cast<std::size_t>(std::count_if(drops.begin(), drops.end(), isOwn));
  }
  summary.drops = std::move(drops);
}

void NoteKept(const Events& kept, Summary& summary) {
  for (const auto& event : kept) {
    summary.photoBounds.Add(event.Latitude, event.Longitude, event.Altitude);
    summary.photoSpan.Add(FromFileTime(event.TimeUTC));
  }
}

void PlaceLog(HousekeepingLog& housekeeping, Summary& summary, Log& log) {
  LogSummary& result = summary.log.emplace();
  result.lines = housekeeping.lines;
  result.skipped = housekeeping.skipped;
  result.faultyDates = housekeeping.faultyDates;
  result.cutAtLine = housekeeping.cutAtLine;
  result.entries = housekeeping.events.size();
  result.span = SpanOf(housekeeping.events);
  result.readings = std::move(housekeeping.readings);
  result.errors = std::move(housekeeping.errors);
  result.dropped = PlaceLogEntries(housekeeping, summary.trajectory, log);
}

void GradeCameras(const RunRequest& request, Events& events, Summary& summary, Log& log) {
  const double blurFactor = summary.inputs.blurFactor.value_or(Share{kDefaultBlurFactor}).value;
  auto grades = GradeEvents(events, blurFactor, request.jobs, log);
  for (auto& camera : summary.cameras) {
    if (camera.folder) camera.sharpness = std::move(grades[static_cast<std::size_t>(camera.camera - 1)]);
  }
}

void WriteTrajectory(const OutputFolder& output, Summary& summary, const Log& log) {
  auto& observations = summary.trajectory.observations;
  summary.layers.push_back(WriteTrajectoryLine(output, observations, log));
  summary.layers.push_back(WriteTrajectoryPoints(output, std::move(observations), log));
}

void WritePhotoLayer(const OutputFolder& output, Events&& events, Summary& summary, Log& log) {
  DropWithoutPhoto(events, summary.inputs);
  NoteKept(events, summary);
  WarnOfPhotoPaths(events, log);
  summary.layers.push_back(WritePhotos(output, std::move(events), log));
}

/// Stations are of exposures; whether a photo of them exists does not matter.
void WritePhotosAndStations(const OutputFolder& output, Events&& events, Summary& summary, Log& log) {
  const double tolerance = summary.inputs.tolerance.value_or(kDefaultTolerance);
  auto stations = FormStations(events, tolerance, summary.stations.emplace(), log);
  WritePhotoLayer(output, std::move(events), summary, log);
  summary.layers.push_back(WriteStations(output, std::move(stations), log));
}

/// For an export without a date in its header. Half a day before the first exposure or fix the week is that of the
/// mission, even if the export begins a little earlier.
Instant DateForExport(const Summary& summary) {
  if (summary.inputs.date) return *summary.inputs.date;
  const Instant first = summary.timestamps ? *summary.timestamps->span.first : summary.trajectory.first;
  return first - std::chrono::hours{12};
}

void ReadExport(Summary& summary, Log& log) {
  const Settings& inputs = summary.inputs;
  const ApplanixFile& applanix =
      summary.applanix.emplace(ReadApplanixFile(*inputs.applanix, DateForExport(summary), log));
  if (!applanix.isDated && !inputs.date && applanix.span.first)
    log.Warn("post-processed trajectory: the header holds no date: taken to begin on {}",
             DateText(std::chrono::floor<std::chrono::days>(*applanix.span.first)));
}

/// The mission of a drone: its exposures come with places.
void RunDrone(const RunRequest& request, const OutputFolder& output, const std::vector<tagKVPosEvent>* samples,
              Summary& summary, Log& log) {
  EventLog eventLog = ReadDroneEvents(output.Staging(), summary, log);
  if (summary.inputs.applanix) {
    ReadExport(summary, log);
    samples = &summary.applanix->samples;
  }
  Trajectory trajectory;
  if (samples) trajectory = ApplyPostProcessed(*samples, eventLog.events, summary, log);
  NoteDrops(DropUnusable(eventLog, trajectory, summary.inputs), summary);
  if (request.grade) GradeCameras(request, eventLog.events, summary, log);
  WritePhotoLayer(output, std::move(eventLog.events), summary, log);
}

/// The mission of the sensor: events get places from the trajectory, and photos by time or order.
void RunSensor(const RunRequest& request, const OutputFolder& output, Summary& summary, Log& log) {
  const Settings& inputs = summary.inputs;
  HousekeepingLog housekeeping;
  if (inputs.log) housekeeping = ReadHousekeepingLog(*inputs.log, output.Staging(), log);
  EventLog eventLog;
  if (inputs.events) eventLog = ReadUsableEvents(*inputs.events, output.Staging(), log);
  Events& events = eventLog.events;
  const tagKVSystemEvent* heartbeat = FirstHeartbeat(events);
  DateSources dates{inputs.date, {}, {}};
  if (heartbeat) dates.heartbeat = FromFileTime(heartbeat->TimeUTC);
  const double maxGap = inputs.maxGap.value_or(kDefaultMaxGap);
  summary.trajectory = ReadTrajectory(*inputs.trajectory, dates, output.Staging(), maxGap, log);
  WarnOfTrajectory(summary.trajectory, kReceiverWords, log);
  if (inputs.applanix) {
    ReadExport(summary, log);
    if (summary.applanix->samples.empty()) log.Warn("{}: {}", Utf8(*inputs.applanix), kNoUsableSample);
  }

  if (inputs.log) PlaceLog(housekeeping, summary, log);
  PlaceEvents(events, summary.trajectory, log);
  if (inputs.events) summary.events = Summarise(eventLog);
  PairCameras(events, summary, log);
  NoteDrops(DropUnusable(eventLog, summary.trajectory, inputs), summary);
  if (request.grade) GradeCameras(request, events, summary, log);

  WriteTrajectory(output, summary, log);
  if (inputs.log) summary.layers.push_back(WriteLogPoints(output, std::move(housekeeping.events), log));
  if (inputs.events) WritePhotosAndStations(output, std::move(events), summary, log);
}

void WriteSummary(const OutputFolder& output, const Summary& summary) {
  LineWriter writer(output.Staging() / kSummaryFile);
  writer.Text() = SummaryJson(summary);
  writer.Close();
}

}  // namespace

Summary RunMission(const RunRequest& request, Log& log) {
  Summary summary;
  summary.mission = request.mission;
  summary.output = fs::absolute(request.output).lexically_normal();
  summary.inputs = ResolveInputs(request, log);
  const Settings& inputs = summary.inputs;
  RefuseResultsAsInputs(request.output, inputs);
  std::optional<tagKVCoordinateSystem> target;
  if (inputs.pos) target = ReadTargetSystem(*inputs.target);
  OutputFolder output(request.output, request.overwrite);

  std::optional<PosPoints> pos;
  if (target) pos = TransformPos(*inputs.pos, *target, request.jobs, log);
  if (inputs.aos) summary.orientation = ReadOrientationFile(*inputs.aos, output.Staging(), log);
  if (inputs.mrk) {
    RunDrone(request, output, pos ? &pos->samples : nullptr, summary, log);
  } else {
    RunSensor(request, output, summary, log);
  }
  if (pos) {
    summary.layers.push_back(
        WritePosPoints(output, kPosPoints, std::move(pos->samples), target->EsriWkt.GetString(), log));
    summary.pos = std::move(pos->summary);
  }
  summary.warnings = log.Warnings();
  WriteSummary(output, summary);
  output.Commit();
  return summary;
}

}  // namespace kv::mission
