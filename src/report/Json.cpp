#include "report/Json.h"

#include "mission/inputs/LeftOut.h"
#include "platform/FileNames.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

Json JsonOf(const std::vector<ReadingRange>& ranges) {
  const auto extreme = [](const Extreme& of) { return Json{{"value", of.value}, {"time", mission::JsonOf(of.time)}}; };
  Json json = Json::object();
  for (const auto& range : ranges)
    json[range.key] = {{"lowest", extreme(range.lowest)}, {"highest", extreme(range.highest)}};
  return json;
}

Json JsonOf(const Value& value) {
  if (const auto* time = std::get_if<Instant>(&value)) return IsoText(*time);
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return *whole;
  if (const auto* number = std::get_if<double>(&value)) return *number;
  return std::get<std::string>(value);
}

Json JsonOf(const Finding& finding) {
  const Subject& subject = finding.subject;
  Json json = {{"code", finding.code}, {"severity", WordFor(finding.severity)}};
  if (!subject.file.empty()) json["file"] = Utf8(subject.file);
  if (subject.line > 0) json["line"] = subject.line;
  if (subject.camera > 0) json["camera"] = subject.camera;
  if (!subject.photo.empty()) json["photo"] = subject.photo;
  Json& values = json["values"] = Json::object();
  for (const auto& [name, value] : finding.values) values[name] = JsonOf(value);
  json["text"] = finding.text;
  return json;
}

}  // namespace

Json JsonOf(const std::optional<Instant>& time) { return time ? Json(IsoText(*time)) : Json(nullptr); }

Json JsonOf(const Bounds& bounds) {
  if (bounds.IsEmpty()) return nullptr;
  return {{"west", bounds.west},   {"south", bounds.south},   {"east", bounds.east},
          {"north", bounds.north}, {"lowest", bounds.lowest}, {"highest", bounds.highest}};
}

Json JsonOf(const PosCounts& counts) {
  Json leftOut = Json::object();
  for (const auto& [kind, words, key] : kLeftOutPosLines) leftOut[key] = counts.Of(kind);
  return {{"lines", counts.lines}, {"samples", counts.Of(PosLineKind::Sample)}, {"leftOut", std::move(leftOut)}};
}

Json JsonOf(const Trajectory& trajectory) {
  const SentenceCounts& counts = trajectory.counts;
  Json leftOut = Json::object(), qualities = Json::object(), others = Json::object(), gaps = Json::array();
  for (const auto& [type, count] : counts.others) others[type] = count;
  for (const auto& [kind, words, key] : kLeftOutSentences)
    leftOut[key] = kind == SentenceKind::OtherSentence ? others : Json(counts.Of(kind));
  Json lacking = Json::object();
  for (const auto& [what, count] : counts.lacking) lacking[what] = count;
  for (const auto& [quality, count] : counts.qualities) qualities[std::to_string(quality)] = count;
  Json json = {{"lines", counts.lines},
               {"fixes", counts.Of(SentenceKind::Fix)},
               {"fixesByQuality", std::move(qualities)},
               {"leftOut", std::move(leftOut)},
               {"incompleteFor", std::move(lacking)}};
  if (counts.Of(SentenceKind::Fix) == 0) return json;
  constexpr std::size_t kClockAt = 11;  // in "2024-05-01 12:34:56.789"
  const auto text = [&](Instant time) { return trajectory.date ? IsoText(time) : TimeText(time).substr(kClockAt); };
  for (const Gap& gap : trajectory.gaps)
    gaps.push_back({{"from", text(gap.from)},
                    {"to", text(gap.to)},
                    {"seconds", Seconds(gap.to - gap.from)},
                    {"latitude", gap.latitude},
                    {"longitude", gap.longitude}});
  json.update({{"date", trajectory.date ? Json(DateText(*trajectory.date)) : Json(nullptr)},
               {"dateSource", trajectory.date ? Json(trajectory.dateSource) : Json(nullptr)},
               {"first", text(trajectory.first)},
               {"last", text(trajectory.last)},
               {"fixesReordered", trajectory.moved},
               {"bounds", JsonOf(trajectory.bounds)},
               {"gaps", std::move(gaps)}});
  return json;
}

Json JsonOf(const EventFile& events) {
  return {{"lines", events.lines},
          {"linesSkipped", events.skipped.size()},
          {"faultyHeartbeats", events.faultyHeartbeats.size()},
          {"wildTicks", events.wildTicks.size()},
          {"offHeartbeats", events.offHeartbeats.size()},
          {"timesDoubtful", events.timesDoubtful},
          {"counterWraps", events.wraps},
          {"heartbeats", {{"read", events.heartbeats}}},
          {"first", JsonOf(events.span.first)},
          {"last", JsonOf(events.span.last)}};
}

Json JsonOf(const HousekeepingLog& log) {
  return {{"lines", log.lines},
          {"linesSkipped", log.skipped},
          {"endedAtLine", OrNull(log.endedAtLine)},
          {"faultyDates", log.faultyDates},
          {"entries", {{"read", log.entries}}},
          {"first", JsonOf(log.span.first)},
          {"last", JsonOf(log.span.last)},
          {"errors", log.errors},
          {"readings", JsonOf(log.readings)}};
}

Json JsonOf(const TimestampFile& timestamps) {
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
          {"entries", orientation.readings.size()},
          {"withoutTime", orientation.untimed},
          {"first", JsonOf(orientation.span.first)},
          {"last", JsonOf(orientation.span.last)},
          {"readings", JsonOf(orientation.ranges)}};
}

Json JsonOf(const ApplanixExport& applanix) {
  return {{"samples", applanix.samples.size()}, {"allRowsRead", applanix.unreadable == 0},
          {"unreadable", applanix.unreadable},  {"outOfRange", applanix.outOfRange},
          {"outOfOrder", applanix.outOfOrder},  {"dateInHeader", applanix.isDated},
          {"mappingFrame", applanix.frame},     {"first", JsonOf(applanix.span.first)},
          {"last", JsonOf(applanix.span.last)}, {"bounds", JsonOf(applanix.bounds)}};
}

Json JsonOf(const PosPoints& points) {
  Json json = {{"file", Utf8(points.file)}};
  json.update(JsonOf(points.counts));
  json.update({{"target", points.system},
               {"geoidGrid", points.geoidGrid.empty() ? Json(nullptr) : Json(points.geoidGrid)},
               {"transformed", points.points},
               {"endedAtLine", OrNull(points.endedAtLine)},
               {"first", JsonOf(points.span.first)},
               {"last", JsonOf(points.span.last)},
               {"bounds", JsonOf(points.bounds)}});
  return json;
}

Json JsonOf(const std::vector<Finding>& findings) {
  Json list = Json::array();
  for (const Finding& finding : findings) {
    if (finding.severity != Severity::Note) list.push_back(JsonOf(finding));
  }
  return list;
}

const char* WordFor(PairMode mode) {
  constexpr const char* kWords[] = {"time", "order", "number"};
  return kWords[static_cast<std::size_t>(mode)];
}

const char* WordFor(ClockState state) {
  constexpr const char* kWords[] = {"unchecked", "certain", "partly certain", "ambiguous", "no match"};
  return kWords[static_cast<std::size_t>(state)];
}

std::string Written(const Json& json) {
  return Visible(json.dump(2, ' ', false, Json::error_handler_t::replace), '\n') + '\n';
}

}  // namespace kv::mission
