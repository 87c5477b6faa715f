#include "report/FileReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "base/Failure.h"
#include "base/ScratchFolder.h"
#include "mission/inputs/EventFile.h"
#include "mission/inputs/FileKind.h"
#include "mission/inputs/HousekeepingLog.h"
#include "mission/inputs/PosFile.h"
#include "mission/inputs/ShapefileHeader.h"
#include "photos/JpegHeader.h"
#include "photos/PhotoTimes.h"
#include "platform/FileNames.h"
#include "report/PosReport.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kListed = 5;  // entries of a list that people get to see

/// Any date serves where only times of day are shown.
constexpr std::chrono::sys_days kNoDate = std::chrono::year{1980} / std::chrono::January / 6;

void AddFixes(const Trajectory& trajectory, bool dated, Json& json) {
  const auto text = [&](Instant time) { return dated ? IsoText(time) : TimeText(time).substr(11); };
  json["date"] = dated ? Json(DateText(trajectory.date.date)) : Json(nullptr);
  json["first"] = text(trajectory.first);
  json["last"] = text(trajectory.last);
  json["bounds"] = JsonOf(trajectory.bounds);
  json["gaps"] = JsonOf(trajectory.gaps);
  if (dated) return;
  for (std::size_t i = 0; i < trajectory.gaps.size(); ++i) {
    json["gaps"][i]["from"] = text(trajectory.gaps[i].from);
    json["gaps"][i]["to"] = text(trajectory.gaps[i].to);
  }
}

Json DescribeTrajectory(const fs::path& path, double maxGap, Log& log) {
  const ScratchFolder scratch(TemporaryFolder());
  const auto copy = scratch.Path() / "fixes";
  NmeaLog fixes = CopyFixes(path, copy, log);
  Json json = JsonOfLines(fixes.counts);
  if (!fixes.firstFix) return json;
  const auto date = ChooseDate({{}, {}, fixes.dated}, *fixes.firstFix, log);
  const auto trajectory = ScanFixes(path, copy, fixes, date.value_or(MissionDate{kNoDate, "none"}), maxGap);
  AddFixes(trajectory, date.has_value(), json);
  WarnOfTrajectory(trajectory, kReceiverWords, log);
  return json;
}

Json HeartbeatGaps(const EventLog& events, double maxGap) {
  Json gaps = Json::array();
  std::optional<Instant> last;
  for (const auto& event : events.events) {
    if (event.Type != kHeartbeat) continue;
    const Instant time = FromFileTime(event.TimeUTC);
    if (last && Seconds(time - *last) > maxGap)
      gaps.push_back({{"from", IsoText(*last)}, {"to", IsoText(time)}, {"seconds", Seconds(time - *last)}});
    last = time;
  }
  return gaps;
}

Json DescribeEvents(const fs::path& path, double maxGap, Log& log) {
  const ScratchFolder scratch(TemporaryFolder());
  const EventLog events = ReadEvents(path, scratch.Path(), log);
  std::map<std::string, std::size_t> cameras;
  TimeSpan span;
  for (const auto& event : events.events) {
    if (event.Type == kCameraEvent) ++cameras[std::to_string(event.CameraID)];
    if (HasTime(event)) span.Add(FromFileTime(event.TimeUTC));
  }
  return {{"lines", events.lines},
          {"linesSkipped", events.skipped.size()},
          {"faultyHeartbeats", events.faultyHeartbeats.size()},
          {"heartbeats", events.heartbeats},
          {"eventsByCamera", cameras},
          {"counterWraps", events.wraps},
          {"first", JsonOf(span.first)},
          {"last", JsonOf(span.last)},
          {"heartbeatGaps", HeartbeatGaps(events, maxGap)}};
}

Json DescribeLog(const fs::path& path, double, Log& log) {
  const ScratchFolder scratch(TemporaryFolder());
  const HousekeepingLog housekeeping = ReadHousekeepingLog(path, scratch.Path(), log);
  const TimeSpan span = SpanOf(housekeeping.events);
  return {{"lines", housekeeping.lines},           {"linesSkipped", housekeeping.skipped},
          {"entries", housekeeping.events.size()}, {"faultyDates", housekeeping.faultyDates},
          {"first", JsonOf(span.first)},           {"last", JsonOf(span.last)},
          {"errors", housekeeping.errors},         {"readings", JsonOf(housekeeping.readings)}};
}

Json DescribePos(const fs::path& path, double, Log& log) {
  const PosFile pos = ReadPosFile(path, log);
  WarnOfPosLines(pos.counts, log);
  Json json = JsonOfLines(pos.counts);
  json["firstWeek"] = pos.firstWeek ? Json(*pos.firstWeek) : Json(nullptr);
  json["lastWeek"] = pos.lastWeek ? Json(*pos.lastWeek) : Json(nullptr);
  json["bounds"] = JsonOf(pos.bounds);
  return json;
}

Json DescribeTimestamps(const fs::path& path, double, Log& log) {
  const ScratchFolder scratch(TemporaryFolder());
  const auto timestamps = ReadDroneTimestamps(path, {}, scratch.Path(), log);
  const auto [least, greatest] = std::minmax_element(timestamps.photoNumbers.begin(), timestamps.photoNumbers.end());
  Json json = JsonOf(timestamps);
  json.update({{"leastPhotoNumber", *least}, {"greatestPhotoNumber", *greatest}});
  return json;
}

Json DescribeOrientation(const fs::path& path, double, Log& log) {
  const ScratchFolder scratch(TemporaryFolder());
  return JsonOf(ReadOrientationFile(path, scratch.Path(), log));
}

/// Without a date the week is not known, but the seconds of week are.
Json DescribeApplanix(const fs::path& path, double, Log& log) {
  const ApplanixFile applanix = ReadApplanixFile(path, kNoDate, log);
  Json json = JsonOf(applanix);
  if (!applanix.isDated) json["first"] = json["last"] = nullptr;
  json["firstSecondsOfWeek"] = json["lastSecondsOfWeek"] = nullptr;
  if (applanix.samples.empty()) return json;
  json["firstSecondsOfWeek"] = Utf8(std::wstring(applanix.samples.front().GpsSecondsText.GetString()));
  json["lastSecondsOfWeek"] = Utf8(std::wstring(applanix.samples.back().GpsSecondsText.GetString()));
  return json;
}

Json DescribePhoto(const fs::path& path, double, Log&) {
  const auto header = ReadJpegHeader(path).value_or(JpegHeader{});
  const auto exif = ExifTimeOriginal(header.exif);
  Json json = {{"width", header.width}, {"height", header.height}};
  json["timeInName"] = JsonOf(StampTime(WidePath(path.filename())));
  json["timeInExif"] = JsonOf(exif ? std::optional(exif->time) : std::nullopt);
  if (exif) json["timeZoneKnown"] = exif->zoneKnown;
  return json;
}

Json DescribeShapefile(const fs::path& path, double, Log& log) {
  const auto header = ReadShapefileHeader(path);
  if (!header) throw Failure(Utf8(path) + ": the header of the Shapefile is cut short");
  if (!header->records) log.Warn("the .shx file is missing");
  Bounds bounds;
  bounds.Add(header->south, header->west, header->lowest);
  bounds.Add(header->north, header->east, header->highest);
  return {{"type", ShapeTypeName(header->type)},
          {"records", header->records ? Json(*header->records) : Json(nullptr)},
          {"bounds", JsonOf(bounds)}};
}

Json DescribeUnknown(const fs::path&, double, Log&) { return Json::object(); }

struct Describer {
  FileKind kind;
  const char* name;
  Json (*describe)(const fs::path& path, double maxGap, Log& log);
};
constexpr std::array<Describer, 11> kDescribers{
    {{FileKind::Unknown, "unknown", DescribeUnknown},
     {FileKind::Trajectory, "trajectory log (NMEA)", DescribeTrajectory},
     {FileKind::Events, "system event file", DescribeEvents},
     {FileKind::HousekeepingLog, "housekeeping log", DescribeLog},
     {FileKind::Pos, "POS file", DescribePos},
     {FileKind::DroneTimestamps, "drone timestamp file", DescribeTimestamps},
     {FileKind::DatedOrientation, "orientation sensor log", DescribeOrientation},
     {FileKind::ClockedOrientation, "orientation sensor log, stamped by the master clock", DescribeOrientation},
     {FileKind::Applanix, "post-processed Applanix trajectory", DescribeApplanix},
     {FileKind::Jpeg, "photo (JPEG)", DescribePhoto},
     {FileKind::Shapefile, "Shapefile", DescribeShapefile}}};

/// "firstFixTime" becomes "first fix time"; the types of sentences, all capitals, stay.
std::string Words(const std::string& key) {
  if (std::none_of(key.begin(), key.end(), [](char c) { return c >= 'a' && c <= 'z'; })) return key;
  std::string words;
  for (const char c : key) {
    const bool isUpper = c >= 'A' && c <= 'Z';
    if (isUpper) words += ' ';
    words += isUpper ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return words;
}

std::string ValueText(const Json& value) {
  if (value.is_null()) return "unknown";
  if (value.is_string()) return value.get<std::string>();
  if (value.is_object() || value.is_array()) return value.empty() ? "none" : "";
  return value.dump();
}

void Print(const std::string& label, const Json& value, std::size_t depth, std::string& text) {
  text += fmt::format("{:{}}{}{} {}", "", 2 * depth, label, label.empty() ? "-" : ":", Visible(ValueText(value)));
  while (text.back() == ' ') text.pop_back();
  text += '\n';
  std::size_t listed = 0;
  for (const auto& [key, inner] : value.items()) {
    if (!value.is_structured()) return;
    if (value.is_array() && ++listed > kListed) {
      text += fmt::format("{:{}}and {} more\n", "", 2 * depth + 2, value.size() - kListed);
      return;
    }
    Print(value.is_array() ? "" : Words(key), inner, depth + 1, text);
  }
}

}  // namespace

Json DescribeFile(const fs::path& path, double maxGap) {
  std::error_code error;
  if (fs::is_other(path, error)) throw Failure(Utf8(path) + ": is no regular file; only such are described");
  const FileKind kind = KindOfFile(path);
  const auto describer =
      std::find_if(kDescribers.begin(), kDescribers.end(), [&](auto& entry) { return entry.kind == kind; });
  Log log(Verbosity::Quiet);  // warnings are part of the description
  Json json = {{"file", Utf8(path)}, {"kind", describer->name}};
  const auto size = fs::file_size(path, error);
  if (!error) json["bytes"] = size;
  json.update(describer->describe(path, maxGap, log));
  json["warnings"] = log.Warnings();
  return json;
}

std::string DescriptionText(const Json& description) {
  std::string text = Visible(description["file"].get<std::string>()) + '\n';
  for (const auto& [key, value] : description.items()) {
    if (key != "file") Print(Words(key), value, 1, text);
  }
  return text;
}

}  // namespace kv::mission
