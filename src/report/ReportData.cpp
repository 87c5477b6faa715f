#include "report/ReportData.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>

#include "base/Findings.h"
#include "georef/Attitudes.h"
#include "georef/EventTypes.h"
#include "georef/FixQualities.h"
#include "outputs/Markup.h"
#include "outputs/MissionTables.h"
#include "outputs/RelativePaths.h"
#include "platform/FileNames.h"
#include "report/Columns.h"
#include "report/TrackThinning.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;
using MaybeNumber = std::optional<double>;
using MaybeWord = std::optional<std::string>;

constexpr int kMillimetres = 3, kDegrees = 8;  // decimals; 1e-8 degrees are 1 mm
constexpr std::size_t kMostFixes = 60'000;     // an hour at 10 Hz is drawn whole

/// Milliseconds since 1970, which browsers count in.
MaybeNumber TimeOf(const std::optional<Instant>& time) {
  if (!time) return std::nullopt;
  return static_cast<double>(std::chrono::floor<std::chrono::milliseconds>(time->time_since_epoch()).count());
}

MaybeNumber KnownFloat(float value) { return value > 0 ? MaybeNumber(value) : std::nullopt; }

struct NumberField {
  const char* key;
  int decimals;
  std::function<MaybeNumber(const Exposure&)> value;
};
struct WordField {
  const char* key;
  std::function<MaybeWord(const Exposure&)> word;
};

template <typename Value>
auto WherePlaced(Value value) {
  return [value](const Exposure& exposure) {
    return IsPlaced(exposure.event) ? MaybeNumber(exposure.event.*value) : std::nullopt;
  };
}

auto Angle(double Attitude::*angle, bool isOfTrack) {
  return [=](const Exposure& exposure) {
    const bool isKnown = exposure.attitude && (isOfTrack || exposure.attitudeQuality != AttitudeQuality::Track);
    return isKnown ? MaybeNumber((*exposure.attitude).*angle) : std::nullopt;
  };
}

const std::vector<NumberField>& NumberFields() {
  using Event = tagKVSystemEvent;
  static const std::vector<NumberField> fields{
      {"camera", 0, [](auto& exposure) { return MaybeNumber(CameraOf(exposure.event)); }},
      {"time", 0, [](auto& exposure) { return TimeOf(exposure.time); }},
      {"tick", 0,
       [](auto& exposure) { return exposure.photoNumber ? std::nullopt : MaybeNumber(exposure.event.MasterTick); }},
      {"number", 0,
       [](auto& exposure) { return exposure.photoNumber ? MaybeNumber(*exposure.photoNumber) : std::nullopt; }},
      {"latitude", kDegrees, WherePlaced(&Event::Latitude)},
      {"longitude", kDegrees, WherePlaced(&Event::Longitude)},
      {"height", kMillimetres, WherePlaced(&Event::Altitude)},
      {"difference", 4, [](auto& exposure) { return exposure.photoDifferenceSeconds; }},
      {"probability", 4, [](auto& exposure) { return exposure.photoProbability; }},
      {"sharpness", 2,
       [](auto& exposure) { return exposure.blurred ? MaybeNumber(exposure.event.Sharpness) : std::nullopt; }},
      {"rank", 2, [](auto& exposure) { return exposure.sharpnessRank; }},
      {"blurred", 0, [](auto& exposure) { return exposure.blurred ? MaybeNumber(*exposure.blurred) : std::nullopt; }},
      {"horizontal", 4, [](auto& exposure) { return KnownFloat(exposure.quality.horizontalSigma); }},
      {"vertical", 4, [](auto& exposure) { return KnownFloat(exposure.quality.verticalSigma); }},
      {"roll", 3, Angle(&Attitude::roll, false)},
      {"pitch", 3, Angle(&Attitude::pitch, false)},
      {"heading", 3, Angle(&Attitude::heading, true)},
  };
  return fields;
}

const std::vector<WordField>& WordFields() {
  static const std::vector<WordField> fields{
      {"drop", [](auto& exposure) { return exposure.drop ? MaybeWord(TextOf(*exposure.drop)) : std::nullopt; }},
      {"quality",
       [](auto& exposure) {
         const auto quality = exposure.quality.quality;
         return quality == PositionQuality::None ? std::nullopt : MaybeWord(WordFor(quality));
       }},
      {"attitude",
       [](auto& exposure) { return exposure.attitude ? MaybeWord(WordFor(exposure.attitudeQuality)) : std::nullopt; }},
  };
  return fields;
}

/// The photos of exposures: their names, links to them, and which thumbnail is theirs.
class PhotoColumns {
 public:
  PhotoColumns(const Mission& mission, const fs::path& folder) : paths_(folder) {
    for (const Thumbnail& thumbnail : mission.thumbnails) thumbnails_.try_emplace(thumbnail.photo, thumbnails_.size());
  }

  void Add(const CStringW& photo) {
    if (photo.IsEmpty()) {
      names_.push_back(nullptr), links_.push_back(nullptr), thumbnail_.Add(std::nullopt);
      return;
    }
    const fs::path path = NativePath(photo.GetString());
    const fs::path relative = paths_.To(path);
    names_.push_back(Utf8(path.filename()));
    links_.push_back(relative.empty() ? "file:///" + LinkTo(path) : LinkTo(relative));
    const auto thumbnail = thumbnails_.find(path);
    thumbnail_.Add(thumbnail == thumbnails_.end() ? std::nullopt : MaybeNumber(thumbnail->second));
  }

  void PutInto(Json& json) {
    json["photo"] = std::move(names_), json["link"] = std::move(links_);
    if (!thumbnail_.IsEmpty()) json["thumbnail"] = thumbnail_.Take();
  }

 private:
  RelativePaths paths_;
  std::map<fs::path, std::size_t> thumbnails_;
  Json names_ = Json::array(), links_ = Json::array();
  NumberColumn thumbnail_{0};
};

/// Columns in which nothing is known are left out, but for the first ones, on which the page relies.
Json ExposuresOf(const Mission& mission, const fs::path& folder) {
  Json json = Json::object();
  for (const NumberField& field : NumberFields()) {
    NumberColumn column(field.decimals);
    for (const Exposure& exposure : mission.exposures) column.Add(field.value(exposure));
    if (!column.IsEmpty()) json[field.key] = column.Take();
  }
  for (const WordField& field : WordFields()) {
    WordColumn column;
    for (const Exposure& exposure : mission.exposures) column.Add(field.word(exposure));
    if (!column.IsEmpty()) json[field.key] = column.Take();
  }
  PhotoColumns photos(mission, folder);
  for (const Exposure& exposure : mission.exposures) photos.Add(exposure.event.PhotoPath);
  photos.PutInto(json);
  return json;
}

Json TrackOf(const std::optional<Trajectory>& trajectory) {
  if (!trajectory || trajectory->fixes.empty()) return {{"fixes", 0}, {"shown", 0}};
  const auto& fixes = trajectory->fixes;
  std::vector<std::size_t> stretches;
  for (const StretchRow& stretch : StretchRows(*trajectory))
    stretches.push_back(static_cast<std::size_t>(stretch.fixes - fixes.data()));
  const auto drawn = FixesToDraw(*trajectory, stretches, kMostFixes);
  NumberColumn time(0), latitude(kDegrees), longitude(kDegrees), height(kMillimetres);
  WordColumn quality;
  for (const std::size_t i : drawn) {
    time.Add(TimeOf(FromFileTime(fixes[i].TimeUTC)));
    latitude.Add(fixes[i].Latitude), longitude.Add(fixes[i].Longitude), height.Add(fixes[i].Altitude);
    const auto word = i < trajectory->qualities.size() ? trajectory->qualities[i].quality : PositionQuality::None;
    quality.Add(word == PositionQuality::None ? std::nullopt : MaybeWord(WordFor(word)));
  }
  Json breaks = Json::array();
  for (const std::size_t first : stretches)
    breaks.push_back(std::lower_bound(drawn.begin(), drawn.end(), first) - drawn.begin());
  Json json = {{"fixes", fixes.size()}, {"shown", drawn.size()}, {"time", time.Take()}};
  json.update({{"latitude", latitude.Take()}, {"longitude", longitude.Take()}, {"height", height.Take()}});
  json["breaks"] = std::move(breaks);
  if (!quality.IsEmpty()) json["quality"] = quality.Take();
  return json;
}

Json HeartbeatsOf(const std::optional<EventFile>& events) {
  Json json = Json::object();
  if (!events || events->residuals.size() != events->events.size()) return json;
  NumberColumn time(0), residual(4);
  for (std::size_t i = 0; i < events->events.size(); ++i) {
    time.Add(TimeOf(FromFileTime(events->events[i].TimeUTC)));
    residual.Add(1000 * events->residuals[i]);
  }
  json["time"] = time.Take(), json["milliseconds"] = residual.Take();
  return json;
}

/// Readings of the housekeeping log and the plots that they share. The log names no units.
struct PlottedReading {
  double tagKVLogEvent::*value;
  const char* plot;
  const char* words;
};
constexpr PlottedReading kPlottedReadings[] = {
    {&tagKVLogEvent::CCUTemp, "Temperatures", "control unit"},
    {&tagKVLogEvent::AOSBrdTemp, "Temperatures", "orientation sensor"},
    {&tagKVLogEvent::BatBrdTemp, "Temperatures", "battery board"},
    {&tagKVLogEvent::BatTemp, "Temperatures", "battery"},
    {&tagKVLogEvent::BatVoltage, "Battery voltage", "battery voltage"},
    {&tagKVLogEvent::BatCurrent, "Battery current", "battery current"},
    {&tagKVLogEvent::BatPercent, "Battery charge in percent", "battery charge"},
};

Json HousekeepingOf(const std::optional<HousekeepingLog>& log) {
  Json list = Json::array();
  if (!log) return list;
  for (const PlottedReading& reading : kPlottedReadings) {
    const auto bit = std::find(kHousekeepingReadings.begin(), kHousekeepingReadings.end(), reading.value) -
                     kHousekeepingReadings.begin();
    NumberColumn time(0), value(3);
    for (std::size_t i = 0; i < std::min(log->events.size(), log->known.size()); ++i) {
      const tagKVLogEvent& entry = log->events[i];
      const SYSTEMTIME& at = entry.SystemTimeUTC;
      if ((log->known[i] >> bit & 1) == 0) continue;
      time.Add(TimeOf(FromFields(at.wYear, at.wMonth, at.wDay, at.wHour, at.wMinute, at.wSecond)));
      value.Add(entry.*reading.value);
    }
    if (value.IsEmpty()) continue;
    list.push_back({{"plot", reading.plot}, {"words", reading.words}});
    list.back()["time"] = time.Take(), list.back()["value"] = value.Take();
  }
  return list;
}

/// "3 of 221 exposures are not in the photo layer"
std::string DropLine(const Mission& mission) {
  const auto dropped = std::count_if(mission.exposures.begin(), mission.exposures.end(),
                                     [](const Exposure& exposure) { return exposure.drop.has_value(); });
  if (dropped == 0) return "something was left out or unmatched";
  return fmt::format("{} of {} {} not in the photo layer", dropped, Counted(mission.exposures.size(), "exposure"),
                     dropped == 1 ? "is" : "are");
}

/// That of the mission folder, else of the file that the places come from.
fs::path NameOf(const Settings& settings) {
  if (settings.mission.empty())
    return (settings.trajectory.empty() ? settings.timestamps : settings.trajectory).filename();
  return fs::absolute(settings.mission / "").lexically_normal().parent_path().filename();
}

}  // namespace

MissionState StateOf(const Mission& mission) {
  const auto& findings = mission.findings;
  const auto doubts = static_cast<std::size_t>(std::count_if(
      findings.begin(), findings.end(), [](const Finding& finding) { return finding.severity >= Severity::Doubt; }));
  if (mission.doubtful)
    return {"doubtful", fmt::format("Results may be wrong: {} below{}.", Counted(doubts, "doubt"),
                                    mission.HasPhotoLayer() ? "" : "; there is no photo layer")};
  if (!mission.complete) return {"incomplete", "Finished, but " + DropLine(mission) + "."};
  return {"complete",
          mission.exposures.empty() ? "Everything was read." : "Everything was read, placed, matched and graded."};
}

Json ReportDataOf(const Mission& mission, const fs::path& folder) {
  const MissionState state = StateOf(mission);
  return {{"program", fmt::format("kvmission {}", Version())},
          {"name", Utf8(NameOf(mission.settings))},
          {"state", {{"word", state.word}, {"line", state.line}}},
          {"summary", SummaryOf(mission, folder)},
          {"exposures", ExposuresOf(mission, folder)},
          {"track", TrackOf(mission.trajectory)},
          {"heartbeats", HeartbeatsOf(mission.events)},
          {"housekeeping", HousekeepingOf(mission.housekeeping)}};
}

}  // namespace kv::mission
