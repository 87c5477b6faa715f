#include "Json.h"
#include "System.h"
#include "run/Summary.h"

namespace kv::mission {
namespace {

Json PathOrNull(const std::optional<std::filesystem::path>& path) { return path ? Json(Utf8(*path)) : Json(nullptr); }

Json NumberOrNull(const std::optional<double>& number) { return number ? Json(*number) : Json(nullptr); }

Json Names(const std::vector<std::wstring>& names) {
  Json list = Json::array();
  for (const auto& name : names) list.push_back(Utf8(name));
  return list;
}

Json TrajectoryOf(const Summary& summary) {
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

Json CameraOf(const CameraSummary& camera) {
  Json json = {{"camera", camera.camera},         {"read", camera.read},       {"placed", camera.placed},
               {"paired", camera.pairing.paired}, {"dropped", camera.dropped}, {"photoFolder", nullptr}};
  if (!camera.folder) return json;
  json.update({{"photoFolder", Utf8(camera.folder->path)},
               {"photos", camera.folder->photos.size()},
               {"pairedBy", camera.pairing.mode == PairMode::Time ? "time" : "order"},
               {"offsetSeconds", camera.offset},
               {"largestDifferenceSeconds", NumberOrNull(camera.pairing.largest)},
               {"medianDifferenceSeconds", NumberOrNull(camera.pairing.median)},
               {"photosWithoutEvent", Names(camera.pairing.unused)},
               {"photosOfSeveralEvents", Names(camera.pairing.shared)}});
  return json;
}

/// Ticks up to 2^63 are read; as a number with a fraction that last one has no whole number to go to.
Json TickOf(double tick) {
  constexpr double kEnd = 9223372036854775808.0;
  return tick >= -kEnd && tick < kEnd ? Json(static_cast<std::int64_t>(tick)) : Json(tick);
}

Json DropsOf(const Summary& summary) {
  Json list = Json::array();
  for (const Drop& drop : summary.drops)
    list.push_back(
        {{"camera", drop.camera}, {"tick", TickOf(drop.tick)}, {"time", JsonOf(drop.time)}, {"reason", drop.reason}});
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
                  {"photos",
                   {{"first", JsonOf(summary.photoSpan.first)},
                    {"last", JsonOf(summary.photoSpan.last)},
                    {"bounds", JsonOf(summary.photoBounds)}}},
                  {"dropped", DropsOf(summary)},
                  {"layers", LayersOf(summary)},
                  {"warnings", summary.warnings}});
}

}  // namespace kv::mission
