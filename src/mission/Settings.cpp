#include "mission/Settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <string_view>

#include "mission/OutputKinds.h"
#include "platform/FileNames.h"
#include "text/Blanks.h"
#include "text/Numbers.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using Path = std::filesystem::path;
using Type = SettingKey::Type;

constexpr double kLargestMegapixels = 1e6;
constexpr double kLargestSeconds = 1e9;   // some 30 years; longer than any clock offset or gap
constexpr double kLongestDelay = 10'000;  // milliseconds
constexpr double kLongestArm = 1000;      // metres
constexpr int kMostJobs = 1024;

/// Stores a text, or says what is wrong with it.
using Reader = std::function<std::string(std::string_view, Settings&)>;

Reader PathTo(Path Settings::*member) {
  return [member](std::string_view text, Settings& settings) -> std::string {
    if (text.empty()) return "must not be empty";
    if (text.find('\0') != text.npos) return "must be a path, without NUL";
    settings.*member = PathFromText(text);
    return {};
  };
}

Reader NumberTo(double Settings::*member, double least, double most, const char* complaint) {
  return [=](std::string_view text, Settings& settings) -> std::string {
    const auto number = FiniteNumber(text);
    if (!number || *number < least || *number > most) return complaint;
    settings.*member = *number;
    return {};
  };
}

Reader DelayTo(double Settings::*member) {
  return NumberTo(member, -kLongestDelay, kLongestDelay, "must be a number of milliseconds, 10000 at most");
}

constexpr const char* kNotSeconds = "must be a number of seconds";

Reader ClockOffsetTo(ClockOffset Settings::*member) {
  return [=](std::string_view text, Settings& settings) -> std::string {
    const auto number = FiniteNumber(text);
    const bool find = text == "auto";
    if (!find && (!number || std::abs(*number) > kLargestSeconds)) return std::string(kNotSeconds) + ", or auto";
    settings.*member = {number.value_or(0), find};
    return {};
  };
}

/// Three lengths between commas; the array has a place for each.
Reader LeverArmTo(LeverArm Settings::*member) {
  return [=](std::string_view text, Settings& settings) -> std::string {
    std::array<double, 3> metres{};
    for (double& part : metres) {
      const std::size_t comma = text.find(',');
      const auto number = FiniteNumber(WithoutBlanks(text.substr(0, comma)));
      const bool isLast = &part == &metres.back();
      if (!number || std::abs(*number) > kLongestArm || isLast != (comma == text.npos))
        return "must be FORWARD,RIGHT,DOWN: three numbers of metres";
      part = *number;
      text.remove_prefix(isLast ? text.size() : comma + 1);
    }
    settings.*member = {metres[0], metres[1], metres[2]};
    return {};
  };
}

Reader FlagTo(bool Settings::*member, bool whenGiven) {
  return [=](std::string_view text, Settings& settings) -> std::string {
    if (text != "true" && text != "false") return "must be true or false";
    settings.*member = (text == "true") == whenGiven;
    return {};
  };
}

/// The second path given is that of the other trajectory.
std::string ReadTrajectoryPath(std::string_view text, Settings& settings) {
  if (!settings.otherTrajectory.empty()) return "may be given twice, not more often";
  return PathTo(settings.trajectory.empty() ? &Settings::trajectory : &Settings::otherTrajectory)(text, settings);
}

std::string ReadTarget(std::string_view text, Settings& settings) {
  if (text.empty()) return "must not be empty";
  settings.target = text;
  return {};
}

std::string ReadPosition(std::string_view text, Settings& settings) {
  if (text != "timestamps" && text != "post-processed") return "must be timestamps or post-processed";
  settings.position = text == "timestamps" ? PositionSource::Timestamps : PositionSource::PostProcessed;
  return {};
}

std::string ReadPair(std::string_view text, Settings& settings) {
  if (text != "order" && text != "time" && text != "auto") return "must be order, time or auto";
  settings.pair = text == "order" ? PairBy::Order : text == "time" ? PairBy::Time : PairBy::Auto;
  return {};
}

std::string ReadDate(std::string_view text, Settings& settings) {
  const auto date = ParseDate(text);
  if (!date) return "must be a date YYYY-MM-DD";
  settings.date = date;
  return {};
}

std::string ReadJobs(std::string_view text, Settings& settings) {
  const auto jobs = Digits(text);
  if (!jobs || *jobs < 1 || *jobs > kMostJobs) return "must be a number from 1 to 1024";
  settings.jobs = static_cast<unsigned>(*jobs);
  return {};
}

/// Words of outputs between commas.
std::string ReadOutputs(std::string_view text, Settings& settings) {
  std::vector<std::string> outputs;
  for (std::size_t comma = 0; comma != text.npos; text.remove_prefix(comma == text.npos ? text.size() : comma + 1)) {
    comma = text.find(',');
    outputs.emplace_back(WithoutBlanks(text.substr(0, comma)));
    const auto& kinds = OutputKinds();
    const auto isNamed = [&](const OutputKind& kind) { return kind.name == outputs.back(); };
    if (std::none_of(kinds.begin(), kinds.end(), isNamed)) return "must be a comma-separated list of: " + OutputNames();
  }
  settings.outputs = std::move(outputs);
  return {};
}

std::string ReadHeights(std::string_view text, Settings& settings) {
  if (text != "ellipsoid" && text != "geoid") return "must be ellipsoid or geoid";
  settings.heights = text == "geoid" ? Heights::Geoid : Heights::Ellipsoidal;
  return {};
}

std::string WithDefault(const char* help, double Settings::*member) {
  return fmt::format("{} (default {})", help, Settings().*member);
}

/// Not an aggregate: short of memory, a list of those frees texts twice with some compilers.
struct Row {
  Row(SettingKey itsKey, Reader reader) : key(std::move(itsKey)), read(std::move(reader)) {}
  SettingKey key;
  Reader read;
};

const std::vector<Row>& Rows() {
  static const std::vector<Row> rows{
      {{"output", "FOLDER", "folder for the results", Type::Path, false}, PathTo(&Settings::output)},
      {{"outputs", "NAME,...", "what is written: " + OutputNames(), Type::Text, true}, ReadOutputs},
      {{"trajectory", "FILE",
        "trajectory: receiver log (NMEA), POS file, Applanix export, SBET or GPX; twice for a real-time and a "
        "post-processed one",
        Type::Path, true, true},
       ReadTrajectoryPath},
      {{"events", "FILE", "system event file with heartbeats and camera events", Type::Path, true},
       PathTo(&Settings::events)},
      {{"housekeeping", "FILE", "housekeeping log", Type::Path, true}, PathTo(&Settings::housekeeping)},
      {{"cam1", "FOLDER", "photos of camera 1", Type::Path, true}, PathTo(&Settings::camera1)},
      {{"cam2", "FOLDER", "photos of camera 2", Type::Path, true}, PathTo(&Settings::camera2)},
      {{"pos", "FILE", "POS file, for a layer in the coordinates of --target", Type::Path, true},
       PathTo(&Settings::pos)},
      {{"target", "WKT|FILE|EPSG:n[+m]", "coordinate system of the POS file's layer and of files for photogrammetry",
        Type::Text, true},
       ReadTarget},
      {{"heights", "ellipsoid|geoid",
        "what heights are above in files for photogrammetry without --target (default ellipsoid; the geoid is EGM96)",
        Type::Choice, true},
       ReadHeights},
      {{"timestamps", "FILE", "timestamp file of a drone's camera, in place of trajectory, events and cameras",
        Type::Path, true},
       PathTo(&Settings::timestamps)},
      {{"photos", "FOLDER", "the drone's photos (default: the folder of the timestamp file)", Type::Path, true},
       PathTo(&Settings::photos)},
      {{"orientation", "FILE", "orientation file, of either kind", Type::Path, true}, PathTo(&Settings::orientation)},
      {{"applanix", "FILE", "text export of a post-processed Applanix trajectory", Type::Path, true},
       PathTo(&Settings::applanix)},
      {{"position", "timestamps|post-processed",
        "places of a drone's photos: from the timestamp file (default) or post-processed", Type::Choice, true},
       ReadPosition},
      {{"timestamp-offsets", "", "add the timestamp file's offsets from antenna to camera to its places", Type::Flag,
        true},
       FlagTo(&Settings::timestampOffsets, true)},
      {{"date", "YYYY-MM-DD", "UTC date of the first fix (default: from the receiver log, else from the heartbeats)",
        Type::CalendarDate, true},
       ReadDate},
      {{"pair", "order|time|auto", "how photos find their events (default auto: by time when most photos tell theirs)",
        Type::Choice, true},
       ReadPair},
      {{"cam1-offset", "auto|SECONDS", "added to the photo times of camera 1; auto finds it", Type::NumberOrAuto, true},
       ClockOffsetTo(&Settings::camera1Offset)},
      {{"cam2-offset", "auto|SECONDS", "added to the photo times of camera 2; auto finds it", Type::NumberOrAuto, true},
       ClockOffsetTo(&Settings::camera2Offset)},
      {{"event-offset", "SECONDS", "added to the times of the event file", Type::Number, true},
       NumberTo(&Settings::eventOffsetSeconds, -kLargestSeconds, kLargestSeconds, kNotSeconds)},
      {{"cam1-shutter-delay", "MS", "from an event of camera 1 to its exposure, milliseconds", Type::Number, true},
       DelayTo(&Settings::camera1DelayMilliseconds)},
      {{"cam2-shutter-delay", "MS", "from an event of camera 2 to its exposure, milliseconds", Type::Number, true},
       DelayTo(&Settings::camera2DelayMilliseconds)},
      {{"cam1-lever-arm", "FORWARD,RIGHT,DOWN", "from the antenna to camera 1, metres", Type::Text, true},
       LeverArmTo(&Settings::camera1LeverArm)},
      {{"cam2-lever-arm", "FORWARD,RIGHT,DOWN", "from the antenna to camera 2, metres", Type::Text, true},
       LeverArmTo(&Settings::camera2LeverArm)},
      {{"heading-from-track", "", "without attitude, turn lever arms by the direction of motion, roll and pitch 0",
        Type::Flag, true},
       FlagTo(&Settings::headingFromTrack, true)},
      {{"max-gap", "SECONDS", WithDefault("longest pause between fixes that is not a gap", &Settings::maxGapSeconds),
        Type::Number, true},
       NumberTo(&Settings::maxGapSeconds, std::numeric_limits<double>::denorm_min(), kLargestSeconds,
                "must be a positive number of seconds")},
      {{"tolerance", "SECONDS", WithDefault("exposures nearer than this form a station", &Settings::toleranceSeconds),
        Type::Number, true},
       NumberTo(&Settings::toleranceSeconds, 0, kLargestSeconds, "must be a number of seconds, not negative")},
      {{"blur-factor", "SHARE",
        WithDefault("a photo below this share of its camera's median sharpness is named", &Settings::blurFactor),
        Type::Number, true},
       NumberTo(&Settings::blurFactor, 0, 1, "must be a number from 0 to 1")},
      {{"no-sharpness", "", "do not grade the photos", Type::Flag, true}, FlagTo(&Settings::grade, false)},
      {{"max-megapixels", "MEGAPIXELS",
        WithDefault("a photo that claims more is not decoded", &Settings::maxMegapixels), Type::Number, true},
       NumberTo(&Settings::maxMegapixels, std::numeric_limits<double>::denorm_min(), kLargestMegapixels,
                "must be a positive number of megapixels, 1e6 at most")},
      {{"thumbnails", "MEGABYTES",
        WithDefault("size of all pictures in the report; blurred and dropped ones come first",
                    &Settings::thumbnailMegabytes),
        Type::Number, true},
       NumberTo(&Settings::thumbnailMegabytes, 0, 1000, "must be a number of megabytes, 1000 at most")},
      {{"jobs", "N", "threads for photos and samples (default: as many as there are processors)", Type::Count, true},
       ReadJobs},
      {{"accept-doubt", "", "make the photo layer although results are in doubt", Type::Flag, true},
       FlagTo(&Settings::acceptDoubt, true)},
      {{"allow-outside", "", "change photos that mission.toml names outside of the mission folder", Type::Flag, false},
       FlagTo(&Settings::allowOutside, true)},
      {{"skip-unreadable", "", "go on without files of the mission folder that cannot be read", Type::Flag, false},
       FlagTo(&Settings::skipUnreadable, true)},
      {{"overwrite", "", "replace the results of an earlier run", Type::Flag, false},
       FlagTo(&Settings::overwrite, true)},
  };
  return rows;
}

}  // namespace

std::string SetFromText(const std::string& key, std::string_view text, Settings& settings) {
  const auto& rows = Rows();
  const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& entry) { return entry.key.name == key; });
  return row == rows.end() ? "is not a setting" : row->read(text, settings);
}

}  // namespace kv::mission

const std::vector<KVMission::SettingKey>& KVMission::SettingKeys() {
  static const auto keys = [] {
    std::vector<SettingKey> all;
    for (const auto& row : kv::mission::Rows()) all.push_back(row.key);
    return all;
  }();
  return keys;
}

void KVMission::Set(Settings& settings, const std::string& key, const std::string& text) {
  const std::string complaint = kv::mission::SetFromText(key, text, settings);
  if (!complaint.empty()) throw Failure(key + " " + complaint, Failure::Reason::WrongUsage);
  std::erase(settings.outside, key);
}
