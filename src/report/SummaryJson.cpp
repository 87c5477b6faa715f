#include "mission/Summary.h"
#include "platform/FileNames.h"
#include "report/Json.h"
#include "report/PosReport.h"

namespace kv::mission {
namespace {

Json PathOrNull(const std::optional<std::filesystem::path>& path) { return path ? Json(Utf8(*path)) : Json(nullptr); }

Json NumberOrNull(const std::optional<double>& number) { return number ? Json(*number) : Json(nullptr); }

Json Names(const std::vector<std::wstring>& names) {
  Json list = Json::array();
  for (const auto& name : names) list.push_back(Utf8(name));
  return list;
}

/// @param of  what was read from the file; null when nothing was
template <typename Input>
Json InputOf(const std::optional<std::filesystem::path>& file, const std::optional<Input>& of) {
  if (!of) return nullptr;
  Json json = {{"file", PathOrNull(file)}};
  json.update(JsonOf(*of));
  return json;
}

Json PositionsOf(const Summary& summary) {
  if (!summary.positions) return nullptr;
  const PositionDifferences& positions = *summary.positions;
  const auto distances = [](const auto& of) {
    return of ? Json{{"medianMetres", of->median}, {"largestMetres", of->largest}} : Json(nullptr);
  };
  return {{"used", positions.used == PositionSource::Timestamps ? "mrk" : "pos"},
          {"compared", positions.compared},
          {"outside", positions.outside},
          {"horizontal", distances(positions.horizontal)},
          {"vertical", distances(positions.vertical)}};
}

Json TrajectoryOf(const Summary& summary) {
  if (!summary.inputs.trajectory) return nullptr;
  const Trajectory& trajectory = summary.trajectory;
  Json json = {{"file", PathOrNull(summary.inputs.trajectory)}};
  json.update(JsonOfLines(trajectory.counts));
  json.update({{"date", DateText(trajectory.date.date)},
               {"dateSource", trajectory.date.source},
               {"first", IsoText(trajectory.first)},
               {"last", IsoText(trajectory.last)},
               {"bounds", JsonOf(trajectory.bounds)},
               {"gaps", JsonOf(trajectory.gaps)}});
  return json;
}

Json EventsOf(const Summary& summary) {
  if (!summary.events) return nullptr;
  const EventSummary& events = *summary.events;
  return {{"file", PathOrNull(summary.inputs.events)},
          {"lines", events.lines},
          {"linesSkipped", events.skipped},
          {"faultyHeartbeats", events.faultyHeartbeats},
          {"wildTicks", events.wildTicks},
          {"offHeartbeats", events.offHeartbeats},
          {"timesDoubtful", events.timesDoubtful},
          {"counterWraps", events.wraps},
          {"heartbeats", {{"read", events.heartbeats}, {"placed", events.heartbeatsPlaced}}},
          {"first", JsonOf(events.span.first)},
          {"last", JsonOf(events.span.last)}};
}

Json LogOf(const Summary& summary) {
  if (!summary.log) return nullptr;
  const LogSummary& log = *summary.log;
  return {{"file", PathOrNull(summary.inputs.log)},
          {"lines", log.lines},
          {"linesSkipped", log.skipped},
          {"endedAtLine", log.cutAtLine ? Json(*log.cutAtLine) : Json(nullptr)},
          {"faultyDates", log.faultyDates},
          {"entries", {{"read", log.entries}, {"dropped", log.dropped}}},
          {"first", JsonOf(log.span.first)},
          {"last", JsonOf(log.span.last)},
          {"errors", log.errors},
          {"readings", JsonOf(log.readings)}};
}

Json StationsOf(const Summary& summary) {
  if (!summary.stations) return nullptr;
  const StationSummary& stations = *summary.stations;
  return {{"toleranceSeconds", stations.tolerance},
          {"paired", stations.paired},
          {"single", stations.single},
          {"sameCamera", stations.sameCamera},
          {"largestDifferenceSeconds", NumberOrNull(stations.largest)},
          {"medianDifferenceSeconds", NumberOrNull(stations.median)}};
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
  Json blurred = Json::array(), ungraded = Json::array();
  for (const auto& [photo, factor] : sharpness->blurred)
    blurred.push_back({{"photo", Utf8(photo)}, {"sharpness", factor}});
  for (const auto& [photo, reason] : sharpness->ungraded)
    ungraded.push_back({{"photo", Utf8(photo)}, {"reason", reason}});
  json.update(
      {{"blurFactor", sharpness->blurFactor}, {"blurred", std::move(blurred)}, {"ungraded", std::move(ungraded)}});
  return json;
}

Json CameraOf(const CameraSummary& camera) {
  Json json = {{"camera", camera.camera},         {"read", camera.read},       {"placed", camera.placed},
               {"paired", camera.pairing.paired}, {"dropped", camera.dropped}, {"photoFolder", nullptr}};
  if (!camera.folder) return json;
  json.update({{"photoFolder", Utf8(camera.folder->path)},
               {"photos", camera.folder->photos.size()},
               {"pairedBy", WordFor(camera.pairing.mode)},
               {"offsetSeconds", camera.offset},
               {"largestDifferenceSeconds", NumberOrNull(camera.pairing.largest)},
               {"medianDifferenceSeconds", NumberOrNull(camera.pairing.median)},
               {"photosWithoutEvent", Names(camera.pairing.unused)},
               {"photosOfSeveralEvents", Names(camera.pairing.shared)},
               {"sharpness", SharpnessOf(camera.sharpness)}});
  return json;
}

/// Ticks up to 2^63 are read; as a number with a fraction that last one has no whole number to go to.
Json TickOf(double tick) {
  constexpr double kEnd = 9223372036854775808.0;
  return tick >= -kEnd && tick < kEnd ? Json(static_cast<std::int64_t>(tick)) : Json(tick);
}

Json DropsOf(const Summary& summary) {
  Json list = Json::array();
  for (const Drop& drop : summary.drops) {
    Json json = {{"camera", drop.camera}};
    if (drop.tick) json["tick"] = TickOf(*drop.tick);
    if (drop.photoNumber) json["photoNumber"] = *drop.photoNumber;
    json.update({{"time", JsonOf(drop.time)}, {"reason", drop.reason}});
    list.push_back(std::move(json));
  }
  return list;
}

Json LayersOf(const Summary& summary) {
  Json list = Json::array();
  for (const Layer& layer : summary.layers)
    list.push_back({{"name", layer.name},
                    {"file", Utf8(summary.output / (std::string(layer.name) + ".shp"))},
                    {"records", layer.records}});
  return list;
}

}  // namespace

std::string SummaryJson(const Summary& summary) {
  Json cameras = Json::array();
  for (const auto& camera : summary.cameras) cameras.push_back(CameraOf(camera));
  return Written({{"program", "kvmission"},
                  {"version", KVMISSION_VERSION},
                  {"complete", summary.IsComplete()},
                  {"mission", PathOrNull(summary.mission)},
                  {"trajectory", TrajectoryOf(summary)},
                  {"events", EventsOf(summary)},
                  {"cameras", std::move(cameras)},
                  {"stations", StationsOf(summary)},
                  {"log", LogOf(summary)},
                  {"mrk", InputOf(summary.inputs.mrk, summary.timestamps)},
                  {"aos", InputOf(summary.inputs.aos, summary.orientation)},
                  {"applanix", InputOf(summary.inputs.applanix, summary.applanix)},
                  {"positions", PositionsOf(summary)},
                  {"pos", summary.pos ? JsonOf(*summary.pos) : Json(nullptr)},
                  {"photos",
                   {{"first", JsonOf(summary.photoSpan.first)},
                    {"last", JsonOf(summary.photoSpan.last)},
                    {"bounds", JsonOf(summary.photoBounds)}}},
                  {"dropped", DropsOf(summary)},
                  {"layers", LayersOf(summary)},
                  {"warnings", summary.warnings}});
}

}  // namespace kv::mission
