#include "georef/Attitudes.h"
#include "georef/FixQualities.h"
#include "mission/OutputKinds.h"
#include "platform/FileNames.h"
#include "report/Json.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

Json PathOrNull(const fs::path& path) { return path.empty() ? Json(nullptr) : Json(Utf8(path)); }

Json Names(const std::vector<std::wstring>& names) {
  Json list = Json::array();
  for (const auto& name : names) list.push_back(Utf8(name));
  return list;
}

/// @param of  what was read from the file; null when nothing was
template <typename Input>
Json InputOf(const fs::path& file, const std::optional<Input>& of) {
  if (!of) return nullptr;
  Json json = {{"file", PathOrNull(file)}};
  json.update(JsonOf(*of));
  return json;
}

/// The one that gives the places.
const fs::path& UsedTrajectory(const Mission& mission) {
  const bool isRead = mission.trajectory && !mission.trajectory->file.empty();
  return isRead ? mission.trajectory->file : mission.settings.trajectory;
}

Json ComparisonOf(const std::optional<TrajectoryComparison>& comparison) {
  if (!comparison) return nullptr;
  const auto distances = [](const std::optional<TrajectoryComparison::Distances>& of) {
    return of ? Json{{"medianMetres", of->median}, {"mostMetres", of->most}, {"largestMetres", of->largest}}
              : Json(nullptr);
  };
  return {{"used", Utf8(comparison->used)},
          {"other", Utf8(comparison->other)},
          {"compared", comparison->compared},
          {"horizontal", distances(comparison->horizontal)},
          {"vertical", distances(comparison->vertical)},
          {"shiftSeconds", OrNull(comparison->shiftSeconds)}};
}

Json EventsOf(const Mission& mission) {
  Json json = InputOf(mission.settings.events, mission.events);
  if (mission.events) json["heartbeats"]["placed"] = mission.events->heartbeatsPlaced;
  return json;
}

Json HousekeepingOf(const Mission& mission) {
  Json json = InputOf(mission.settings.housekeeping, mission.housekeeping);
  if (mission.housekeeping) json["entries"]["dropped"] = mission.housekeeping->dropped;
  return json;
}

Json PositionsOf(const std::optional<PositionDifferences>& positions) {
  if (!positions) return nullptr;
  const auto distances = [](const std::optional<Spread>& of) {
    return of ? Json{{"medianMetres", of->median}, {"largestMetres", of->largest}} : Json(nullptr);
  };
  return {{"used", positions->used == PositionSource::Timestamps ? "timestamps" : "post-processed"},
          {"compared", positions->compared},
          {"outside", positions->outside},
          {"horizontal", distances(positions->horizontalMetres)},
          {"vertical", distances(positions->verticalMetres)}};
}

void PutDifferences(const std::optional<Spread>& differences, Json& json) {
  json["largestDifferenceSeconds"] = differences ? Json(differences->largest) : Json(nullptr);
  json["medianDifferenceSeconds"] = differences ? Json(differences->median) : Json(nullptr);
}

Json StationsOf(const std::optional<Stations>& stations) {
  if (!stations) return nullptr;
  Json json = {{"toleranceSeconds", stations->toleranceSeconds},
               {"paired", stations->paired},
               {"single", stations->single},
               {"sameCamera", stations->sameCamera}};
  PutDifferences(stations->differences, json);
  return json;
}

Json SharpnessOf(const std::optional<SharpnessSummary>& sharpness) {
  if (!sharpness) return nullptr;
  Json json = {{"graded", sharpness->graded}};
  if (const auto& of = sharpness->distribution)
    json.update({{"lowest", of->lowest},
                 {"lowerQuartile", of->lowerQuartile},
                 {"median", of->median},
                 {"upperQuartile", of->upperQuartile},
                 {"highest", of->highest}});
  Json blurred = Json::array();
  for (const auto& [photo, factor] : sharpness->blurred)
    blurred.push_back({{"photo", Utf8(photo)}, {"sharpness", factor}});
  const auto complaints = [](const std::vector<KVMission::SharpnessSummary::Complaint>& photos) {
    Json list = Json::array();
    for (const auto& [photo, reason] : photos) list.push_back({{"photo", Utf8(photo)}, {"reason", reason}});
    return list;
  };
  json.update({{"blurFactor", sharpness->blurFactor},
               {"blurred", std::move(blurred)},
               {"ungraded", complaints(sharpness->ungraded)},
               {"damaged", complaints(sharpness->damaged)}});
  return json;
}

Json ClockOf(const ClockCheck& clock) {
  Json stretches = Json::array();
  for (const ClockStretch& stretch : clock.stretches)
    stretches.push_back({{"firstPhoto", Utf8(stretch.firstPhoto)},
                         {"lastPhoto", Utf8(stretch.lastPhoto)},
                         {"offsetSeconds", stretch.offsetSeconds},
                         {"sigmaSeconds", stretch.sigmaSeconds},
                         {"driftPpm", stretch.driftPpm}});
  return {{"state", WordFor(clock.state)},
          {"stretches", std::move(stretches)},
          {"candidatesSeconds", clock.candidates},
          {"moved", clock.moved}};
}

Json ObjectOf(const Camera& camera) {
  Json json = {{"camera", camera.number},         {"read", camera.read},       {"placed", camera.placed},
               {"paired", camera.pairing.paired}, {"dropped", camera.dropped}, {"photoFolder", nullptr}};
  if (!camera.folder) return json;
  json.update({{"photoFolder", Utf8(camera.folder->path)},
               {"photos", camera.folder->photos.size()},
               {"pairedBy", WordFor(camera.pairing.mode)},
               {"offsetSeconds", camera.offset.seconds},
               {"clock", camera.clock ? ClockOf(*camera.clock) : Json(nullptr)}});
  PutDifferences(camera.pairing.differences, json);
  Json uncertain = Json::array();
  for (const auto& [photo, probability] : camera.pairing.uncertain)
    uncertain.push_back({{"photo", Utf8(photo)}, {"probability", probability}});
  json.update({{"photosWithoutEvent", Names(camera.pairing.unused)},
               {"photosOfSeveralEvents", Names(camera.pairing.shared)},
               {"uncertainPairs", std::move(uncertain)},
               {"sharpness", SharpnessOf(camera.sharpness)}});
  return json;
}

/// Ticks reach 2^63, which as a double is beyond the whole numbers of 64 bits.
Json TickOf(double tick) {
  constexpr double kEnd = 9223372036854775808.0;
  return tick >= -kEnd && tick < kEnd ? Json(static_cast<std::int64_t>(tick)) : Json(tick);
}

Json DropsOf(const Mission& mission) {
  Json list = Json::array();
  for (const Exposure& exposure : mission.exposures) {
    const auto& drop = exposure.drop;
    if (!drop) continue;
    Json json = {{"camera", exposure.event.CameraID}};
    exposure.photoNumber ? json["photoNumber"] = *exposure.photoNumber
                         : json["tick"] = TickOf(exposure.event.MasterTick);
    json.update({{"time", JsonOf(exposure.time)}, {"code", CodeOf(drop->code)}, {"reason", TextOf(*drop)}});
    if (drop->code == DropCode::InsideGap) json["seconds"] = drop->seconds;
    list.push_back(std::move(json));
  }
  return list;
}

Json QualitiesOf(const PlaceQuality& places) {
  Json json = Json::object();
  for (std::size_t i = 0; i < places.photos.size(); ++i) {
    if (places.photos[i] > 0) json[WordFor(PositionQuality(i))] = places.photos[i];
  }
  return json;
}

Json AttitudesOf(const PlaceQuality& places) {
  Json json = Json::object();
  for (std::size_t i = 0; i < places.attitudes.size(); ++i) {
    if (places.attitudes[i] > 0) json[WordFor(AttitudeQuality(i))] = places.attitudes[i];
  }
  return {{"source", places.attitudeSource.empty() ? Json(nullptr) : Json(places.attitudeSource)}, {"photos", json}};
}

Json ArmOf(const LeverArm& arm) { return {{"forward", arm.forward}, {"right", arm.right}, {"down", arm.down}}; }

/// Where the cameras are, as the settings say.
Json MountOf(const Camera& camera, const Settings& settings) {
  const bool isFirst = camera.number == 1;
  return {{"shutterDelayMilliseconds", isFirst ? settings.camera1DelayMilliseconds : settings.camera2DelayMilliseconds},
          {"leverArmMetres", ArmOf(isFirst ? settings.camera1LeverArm : settings.camera2LeverArm)}};
}

Json AccuracyOf(const AccuracyRange& range) {
  if (range.known == 0) return nullptr;
  return {{"known", range.known}, {"leastMetres", range.least}, {"largestMetres", range.largest}};
}

Json LayersIn(const fs::path& folder, const Mission& mission) {
  Json list = Json::array();
  const bool isWritten = !folder.empty() && IsWanted("shp", mission.settings);
  for (const auto& [name, records] : LayersOf(mission)) {
    const fs::path file = !isWritten ? fs::path() : folder / (std::string(name) + ".shp");
    list.push_back({{"name", name}, {"file", PathOrNull(file)}, {"records", records}});
  }
  return list;
}

}  // namespace

Json SummaryOf(const Mission& mission, const fs::path& folder) {
  const Settings& settings = mission.settings;
  Json cameras = Json::array();
  for (const Camera& camera : mission.cameras) {
    cameras.push_back(ObjectOf(camera));
    cameras.back().update(MountOf(camera, settings));
  }
  return {{"program", "kvmission"},
          {"version", Version()},
          {"complete", mission.complete},
          {"doubtful", mission.doubtful},
          {"mission", PathOrNull(settings.mission)},
          {"trajectory", InputOf(UsedTrajectory(mission), mission.trajectory)},
          {"trajectoryComparison", ComparisonOf(mission.trajectoryComparison)},
          {"events", EventsOf(mission)},
          {"cameras", std::move(cameras)},
          {"stations", StationsOf(mission.stations)},
          {"housekeeping", HousekeepingOf(mission)},
          {"timestamps", InputOf(settings.timestamps, mission.timestamps)},
          {"orientation", InputOf(settings.orientation, mission.orientation)},
          {"applanix", InputOf(settings.applanix, mission.applanix)},
          {"positions", PositionsOf(mission.positions)},
          {"pos", mission.pos ? JsonOf(*mission.pos) : Json(nullptr)},
          {"photos",
           {{"first", JsonOf(mission.photoSpan.first)},
            {"last", JsonOf(mission.photoSpan.last)},
            {"bounds", JsonOf(mission.photoBounds)},
            {"byQuality", QualitiesOf(mission.placeQuality)},
            {"attitude", AttitudesOf(mission.placeQuality)},
            {"horizontalAccuracy", AccuracyOf(mission.placeQuality.horizontal)},
            {"verticalAccuracy", AccuracyOf(mission.placeQuality.vertical)}}},
          {"dropped", DropsOf(mission)},
          {"layers", LayersIn(folder.empty() ? settings.output : folder, mission)},
          {"outputs", WantedOutputs(mission)},
          {"findings", JsonOf(mission.findings)}};
}

}  // namespace kv::mission

std::string KVMission::SummaryJson(const Mission& mission, const std::filesystem::path& folder) {
  return kv::mission::Written(kv::mission::SummaryOf(mission, folder));
}
