#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "georef/Attitudes.h"
#include "georef/EventTypes.h"
#include "georef/LocalOffset.h"
#include "mission/Steps.h"
#include "platform/CodePage.h"

namespace kv::mission {
namespace {

/// What tells attitudes.
struct AttitudeSource {
  std::string name;  ///< empty when nothing does
  AttitudeQuality quality = AttitudeQuality::None;
  std::vector<TimedAttitude> attitudes;
};

std::vector<TimedAttitude> AttitudesIn(const Trajectory& trajectory) {
  std::vector<TimedAttitude> attitudes;
  for (std::size_t i = 0; i < trajectory.attitudes.size(); ++i)
    attitudes.push_back({trajectory.fixes[i].AdjGpsSec, trajectory.attitudes[i]});
  return attitudes;
}

std::vector<TimedAttitude> AttitudesIn(const ApplanixExport& applanix) {
  std::vector<TimedAttitude> attitudes;
  for (const auto& sample : applanix.samples)
    attitudes.push_back({sample.AdjGpsSec, {sample.Value1, sample.Value2, sample.Value3}});
  if (!HaveAngles(attitudes)) attitudes.clear();
  return attitudes;
}

/// Readings without a time, or with an error of the sensor, are left out.
std::vector<TimedAttitude> AttitudesIn(const OrientationFile& orientation) {
  std::vector<TimedAttitude> attitudes;
  for (const auto& reading : orientation.readings) {
    if (static_cast<std::int64_t>(Ticks(reading.TimeUTC)) > 0 && reading.SysError == 0)
      attitudes.push_back({reading.AdjGpsSec, {reading.Roll, reading.Pitch, reading.Heading}});
  }
  return attitudes;
}

/// The trajectory's own attitude, else that of an Applanix export beside it, else that of the orientation file.
AttitudeSource SourceOf(const Trajectory& trajectory, const Mission& mission) {
  std::vector<AttitudeSource> sources;
  sources.push_back({trajectory.kind, AttitudeQuality::PostProcessed, AttitudesIn(trajectory)});
  if (mission.applanix)
    sources.push_back({"Applanix export", AttitudeQuality::PostProcessed, AttitudesIn(*mission.applanix)});
  if (mission.orientation)
    sources.push_back({"orientation file", AttitudeQuality::Sensor, AttitudesIn(*mission.orientation)});
  const auto first =
      std::find_if(sources.begin(), sources.end(), [](auto& source) { return !source.attitudes.empty(); });
  return first == sources.end() ? AttitudeSource() : std::move(*first);
}

const LeverArm& ArmOf(int camera, const Settings& settings) {
  return camera == 1 ? settings.camera1LeverArm : settings.camera2LeverArm;
}

void TakeAttitudes(const Trajectory& trajectory, TrajectoryIndex& index, Mission& mission, Job& job) {
  const Settings& settings = mission.settings;
  AttitudeSource source = SourceOf(trajectory, mission);
  if (source.name.empty() && !settings.headingFromTrack) return;
  const AttitudeSeries series(std::move(source.attitudes), settings.maxGapSeconds);
  std::size_t placed = 0, known = 0, fromTrack = 0;
  for (Exposure& exposure : mission.exposures) {
    if (!IsPlaced(exposure.event)) continue;
    ++placed;
    const double time = exposure.event.AdjGpsSec;
    if ((exposure.attitude = series.At(time))) {
      exposure.attitudeQuality = source.quality;
      ++known;
    } else if (!settings.headingFromTrack) {
      continue;
    } else if (const auto heading = HeadingOfTrack(time, index, trajectory, settings.maxGapSeconds)) {
      exposure.attitude = Attitude{0, 0, *heading};
      exposure.attitudeQuality = AttitudeQuality::Track;
      ++fromTrack;
    }
    WidenAnsi(WordFor(exposure.attitudeQuality), exposure.event.ORIQuality);
  }
  mission.placeQuality.attitudeSource = source.name;
  if (!source.name.empty() && placed > 0)
    job.Add(Found::AttitudesTaken, {{"count", Count(known)}, {"exposures", Count(placed)}, {"source", source.name}});
  if (fromTrack > 0) job.Add(Found::HeadingsFromTrack, {{"count", Count(fromTrack)}});
}

/// Moves exposures from the trajectory to their cameras; one whose attitude is not known loses its place.
void ApplyLeverArms(Mission& mission, Job& job) {
  if (mission.settings.camera1LeverArm == LeverArm() && mission.settings.camera2LeverArm == LeverArm()) return;
  std::array<std::size_t, 2> lacking{};
  for (Exposure& exposure : mission.exposures) {
    tagKVSystemEvent& event = exposure.event;
    const int camera = CameraOf(event);
    const LeverArm& arm = ArmOf(camera, mission.settings);
    if (!IsPlaced(event) || arm == LeverArm()) continue;
    Location place;
    if (exposure.attitude) {
      place = Moved({event.Latitude, event.Longitude, event.Altitude}, Turned(arm, *exposure.attitude));
    } else {
      if (!exposure.drop) exposure.drop = Drop{DropCode::NoAttitude};
      ++lacking[static_cast<std::size_t>(camera - 1)];
    }
    SetLocation(place, event);
  }
  for (const int camera : {1, 2}) {
    if (const std::size_t count = lacking[static_cast<std::size_t>(camera - 1)]; count > 0)
      job.Add(Found::ExposuresWithoutAttitude, {{"camera", camera}, {"count", Count(count)}}, {.camera = camera});
  }
}

}  // namespace

void CheckLeverArms(const Mission& mission) {
  const Settings& settings = mission.settings;
  const int camera = ArmOf(1, settings) != LeverArm() ? 1 : ArmOf(2, settings) != LeverArm() ? 2 : 0;
  if (camera == 0 || settings.headingFromTrack || !SourceOf(*mission.trajectory, mission).attitudes.empty()) return;
  throw Failure("--cam" + std::to_string(camera) +
                    "-lever-arm needs attitude: give an SBET file or an Applanix export with attitude as "
                    "--trajectory, an --orientation file, or --heading-from-track",
                Failure::Reason::WrongUsage);
}

void DelayExposures(const Settings& settings, SystemEvents& events) {
  constexpr double kTicksPerMillisecond = 1e4;
  if (settings.camera1DelayMilliseconds == 0 && settings.camera2DelayMilliseconds == 0) return;
  for (auto& event : events) {
    if (event.Type != kCameraEvent || !HasTime(event)) continue;
    const double delay = CameraOf(event) == 1 ? settings.camera1DelayMilliseconds : settings.camera2DelayMilliseconds;
    if (delay != 0) SetTime(AddTicks(event.TimeUTC, std::llround(delay * kTicksPerMillisecond)), event);
  }
}

void PlaceCameras(const Trajectory& trajectory, TrajectoryIndex& index, Mission& mission, Job& job) {
  TakeAttitudes(trajectory, index, mission, job);
  ApplyLeverArms(mission, job);
}

}  // namespace kv::mission
