#include "report/Json.h"

namespace kv::mission {

Json JsonOf(const Bounds& bounds) {
  if (bounds.IsEmpty()) return nullptr;
  return {{"west", bounds.west},   {"south", bounds.south},   {"east", bounds.east},
          {"north", bounds.north}, {"lowest", bounds.lowest}, {"highest", bounds.highest}};
}

Json JsonOf(const std::optional<Instant>& time) { return time ? Json(IsoText(*time)) : Json(nullptr); }

Json JsonOfLines(const NmeaCounts& counts) {
  Json leftOut = Json::object(), qualities = Json::object();
  for (const auto& [kind, words, key] : kLeftOutKinds) {
    if (kind == LineKind::OtherSentence) {
      leftOut[key] = counts.others.empty() ? Json::object() : Json(counts.others);
    } else {
      leftOut[key] = counts.Of(kind);
    }
  }
  for (const auto& [quality, count] : counts.qualities) qualities[std::to_string(quality)] = count;
  return {{"lines", counts.lines},
          {"fixes", counts.Of(LineKind::Fix)},
          {"fixesByQuality", std::move(qualities)},
          {"leftOut", std::move(leftOut)}};
}

Json JsonOf(const std::vector<Gap>& gaps) {
  Json list = Json::array();
  for (const Gap& gap : gaps)
    list.push_back({{"from", IsoText(gap.from)},
                    {"to", IsoText(gap.to)},
                    {"seconds", Seconds(gap.to - gap.from)},
                    {"latitude", gap.latitude},
                    {"longitude", gap.longitude}});
  return list;
}

Json JsonOf(const std::vector<ReadingRange>& readings) {
  const auto extreme = [](const Extreme& value) { return Json{{"value", value.value}, {"time", JsonOf(value.time)}}; };
  Json json = Json::object();
  for (const auto& range : readings)
    json[range.name->key] = {{"lowest", extreme(range.lowest)}, {"highest", extreme(range.highest)}};
  return json;
}

Json JsonOf(const DroneTimestamps& timestamps) {
  return {{"lines", timestamps.lines},
          {"linesSkipped", timestamps.skipped.size()},
          {"exposures", timestamps.photoNumbers.size()},
          {"first", JsonOf(timestamps.span.first)},
          {"last", JsonOf(timestamps.span.last)},
          {"bounds", JsonOf(timestamps.bounds)}};
}

Json JsonOf(const OrientationFile& orientation) {
  return {{"stampedBy", orientation.byMasterClock ? "master clock" : "date"},
          {"lines", orientation.lines},
          {"linesSkipped", orientation.skipped.size()},
          {"faultyHeartbeats", orientation.faultyHeartbeats.size()},
          {"wildTicks", orientation.wildTicks.size()},
          {"offHeartbeats", orientation.offHeartbeats.size()},
          {"heartbeats", orientation.heartbeats},
          {"entries", orientation.readings},
          {"withoutTime", orientation.untimed},
          {"first", JsonOf(orientation.span.first)},
          {"last", JsonOf(orientation.span.last)},
          {"readings", JsonOf(orientation.ranges)}};
}

Json JsonOf(const ApplanixFile& applanix) {
  return {{"samples", applanix.samples.size()},   {"allRowsRead", applanix.report.empty()},
          {"outOfRange", applanix.outOfRange},    {"outOfOrder", applanix.outOfOrder},
          {"dateInHeader", applanix.isDated},     {"mappingFrame", applanix.frame},
          {"first", JsonOf(applanix.span.first)}, {"last", JsonOf(applanix.span.last)},
          {"bounds", JsonOf(applanix.bounds)}};
}

std::string Written(const Json& json) {
  return Visible(json.dump(2, ' ', false, Json::error_handler_t::replace), '\n') + '\n';
}

}  // namespace kv::mission
