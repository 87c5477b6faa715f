#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "georef/EventTypes.h"
#include "mission/inputs/Inputs.h"
#include "platform/FileNames.h"
#include "report/Json.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

/// Metres to a tenth of a millimetre.
double Rounded(float metres) { return std::round(static_cast<double>(metres) * 1e4) / 1e4; }

Json HeartbeatGaps(const EventFile& file, double maxGapSeconds) {
  Json gaps = Json::array();
  std::optional<Instant> last;
  for (const auto& event : file.events) {
    if (event.Type != kHeartbeat) continue;
    const Instant time = FromFileTime(event.TimeUTC);
    if (last && Seconds(time - *last) > maxGapSeconds)
      gaps.push_back({{"from", IsoText(*last)}, {"to", IsoText(time)}, {"seconds", Seconds(time - *last)}});
    last = time;
  }
  return gaps;
}

/// The content of a file: first the keys that it has in a run's summary, then those of a description only.
struct Describe {
  double maxGapSeconds;

  Json operator()(std::monostate) const { return Json::object(); }
  Json operator()(const Trajectory& trajectory) const { return JsonOf(trajectory); }
  Json operator()(const OrientationFile& orientation) const { return JsonOf(orientation); }

  Json operator()(const EventFile& file) const {
    std::map<std::string, std::size_t> cameras;
    for (const auto& event : file.events) {
      if (event.Type == kCameraEvent) ++cameras[std::to_string(event.CameraID)];
    }
    Json json = JsonOf(file);
    json.update({{"heartbeats", file.heartbeats},
                 {"eventsByCamera", cameras},
                 {"heartbeatGaps", HeartbeatGaps(file, maxGapSeconds)}});
    return json;
  }

  Json operator()(const HousekeepingLog& log) const {
    Json json = JsonOf(log);
    json["entries"] = log.entries;
    return json;
  }

  Json operator()(const PosFile& pos) const {
    Json json = JsonOf(pos.counts);
    Json qualities = Json::object();
    for (const auto& [figure, count] : pos.qualities) qualities[std::to_string(figure)] = count;
    const auto& sigmas = pos.horizontalSigmas;
    json.update({{"forms", pos.forms},
                 {"datum", pos.datum.empty() ? Json(nullptr) : Json(pos.datum)},
                 {"samplesByQuality", std::move(qualities)},
                 {"leastHorizontalSigma", sigmas ? Json(Rounded(sigmas->first)) : Json(nullptr)},
                 {"greatestHorizontalSigma", sigmas ? Json(Rounded(sigmas->second)) : Json(nullptr)},
                 {"first", JsonOf(pos.span.first)},
                 {"last", JsonOf(pos.span.last)},
                 {"firstWeek", OrNull(pos.firstWeek)},
                 {"lastWeek", OrNull(pos.lastWeek)},
                 {"bounds", JsonOf(pos.bounds)}});
    return json;
  }

  Json operator()(const TimestampFile& timestamps) const {
    const auto& numbers = timestamps.photoNumbers;
    const auto [least, greatest] = std::minmax_element(numbers.begin(), numbers.end());
    Json json = JsonOf(timestamps);
    if (!numbers.empty()) json.update({{"leastPhotoNumber", *least}, {"greatestPhotoNumber", *greatest}});
    return json;
  }

  /// Without a date the week is not known, but the seconds of week are.
  Json operator()(const ApplanixExport& applanix) const {
    Json json = JsonOf(applanix);
    if (!applanix.isDated) json["first"] = json["last"] = nullptr;
    const auto& samples = applanix.samples;
    const auto seconds = [](const tagKVPosEvent& sample) {
      return Utf8(std::wstring(sample.GpsSecondsText.GetString()));
    };
    json["firstSecondsOfWeek"] = samples.empty() ? Json(nullptr) : Json(seconds(samples.front()));
    json["lastSecondsOfWeek"] = samples.empty() ? Json(nullptr) : Json(seconds(samples.back()));
    return json;
  }

  Json operator()(const SbetFile& sbet) const {
    return {{"records", sbet.records},           {"outOfRange", sbet.outOfRange},   {"timeScale", sbet.timeScale},
            {"firstSeconds", sbet.firstSeconds}, {"lastSeconds", sbet.lastSeconds}, {"first", JsonOf(sbet.span.first)},
            {"last", JsonOf(sbet.span.last)},    {"bounds", JsonOf(sbet.bounds)}};
  }

  Json operator()(const GpxFile& gpx) const {
    return {{"tracks", gpx.tracks},
            {"segments", gpx.segments},
            {"points", gpx.points},
            {"withoutTime", gpx.withoutTime},
            {"withoutPlace", gpx.withoutPlace},
            {"withoutFix", gpx.withoutFix},
            {"withGeoidHeight", gpx.geoidHeights},
            {"waypointsAndRoutePoints", gpx.others},
            {"first", JsonOf(gpx.span.first)},
            {"last", JsonOf(gpx.span.last)},
            {"bounds", JsonOf(gpx.bounds)}};
  }

  Json operator()(const PhotoFile& photo) const {
    Json json = {{"width", photo.width},
                 {"height", photo.height},
                 {"timeInName", JsonOf(photo.timeInName)},
                 {"timeInExif", JsonOf(photo.timeInExif)}};
    if (photo.timeInExif) json["timeZoneKnown"] = photo.timeZoneKnown;
    return json;
  }

  Json operator()(const ShapefileHeader& header) const {
    return {
        {"type", ShapeTypeName(header.type)}, {"records", OrNull(header.records)}, {"bounds", JsonOf(header.bounds)}};
  }
};

/// All except the findings.
Json ObjectOf(const FileDescription& description) {
  Json json = {{"file", Utf8(description.file)}, {"kind", description.kind}};
  if (description.bytes) json["bytes"] = *description.bytes;
  json.update(std::visit(Describe{description.maxGapSeconds}, description.content));
  return json;
}

/// "fixesByQuality" becomes "fixes by quality"; the types of sentences, all capitals, stay.
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
  if (value.is_structured()) return value.empty() ? "none" : "";
  return value.dump();
}

void Print(const std::string& label, const Json& value, std::size_t depth, std::string& text) {
  constexpr std::size_t kListed = 5;  // entries of a list
  text += fmt::format("{:{}}{}{} {}", "", 2 * depth, label, label.empty() ? "-" : ":", Visible(ValueText(value)));
  while (text.back() == ' ') text.pop_back();
  text += '\n';
  if (!value.is_structured()) return;
  std::size_t listed = 0;
  for (const auto& [key, inner] : value.items()) {
    if (value.is_array() && ++listed > kListed) {
      text += fmt::format("{:{}}and {} more\n", "", 2 * depth + 2, value.size() - kListed);
      return;
    }
    Print(value.is_array() ? "" : Words(key), inner, depth + 1, text);
  }
}

}  // namespace
}  // namespace kv::mission

std::string KVMission::DescriptionJson(const std::vector<FileDescription>& descriptions) {
  using namespace kv::mission;
  Json all = Json::array();
  for (const auto& description : descriptions) {
    Json& json = all.emplace_back(ObjectOf(description));
    json["findings"] = JsonOf(description.findings);
  }
  return Written(all);
}

std::string KVMission::DescriptionText(const FileDescription& description) {
  using namespace kv::mission;
  Json json = ObjectOf(description), findings = Json::array();
  for (const Finding& finding : description.findings) {
    if (finding.severity != Severity::Note)
      findings.push_back(fmt::format("{}: {}", WordFor(finding.severity), finding.text));
  }
  json["findings"] = std::move(findings);
  std::string text = Visible(Utf8(description.file)) + '\n';
  for (const auto& [key, value] : json.items()) {
    const bool isReadToItsEnd = key == "endedAtLine" && value.is_null();
    if (key != "file" && !isReadToItsEnd) Print(Words(key), value, 1, text);
  }
  return text;
}
