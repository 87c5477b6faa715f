#pragma once

#include <array>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "mission/Pairing.h"

/// What a user can settle about a mission, on the command line or in its mission.toml.
namespace kv::mission {

enum class PairChoice { Auto, Time, Order };

/// Where a drone's photos have their places from.
enum class PositionSource { Timestamps, PostProcessed };

/// 0 to 1
struct Share {
  double value;
};

struct Settings {
  std::optional<std::filesystem::path> trajectory, events, log, camera1, camera2, pos;
  std::optional<std::filesystem::path> mrk, photos;    ///< of a drone; the photos are camera 1's
  std::optional<std::filesystem::path> aos, applanix;  ///< orientation sensor, post-processed trajectory
  std::optional<PositionSource> position;              ///< of a drone's photos
  std::optional<std::string> target;          ///< coordinate system of the POS file's layer: a file, WKT or codes
  std::optional<std::chrono::sys_days> date;  ///< UTC, of the first fix
  std::optional<PairChoice> pair;
  std::optional<double> camera1Offset, camera2Offset;  ///< seconds, added to the photos' times
  std::optional<double> maxGap;                        ///< seconds
  std::optional<double> tolerance;                     ///< seconds, between the exposures of a station
  std::optional<Share> blurFactor;                     ///< of a camera's median sharpness
};

inline constexpr double kDefaultMaxGap = 2.0;      // seconds: twice the slowest rate that receivers are used at here
inline constexpr double kDefaultTolerance = 0.05;  // seconds: cameras triggered together expose within some 20 ms
inline constexpr double kDefaultBlurFactor =
    0.25;  // sharp photos of one camera vary by some 2, out of focus ones lose 10 and more

using SettingMember =
    std::variant<std::optional<std::filesystem::path> Settings::*, std::optional<std::chrono::sys_days> Settings::*,
                 std::optional<PairChoice> Settings::*, std::optional<double> Settings::*,
                 std::optional<Share> Settings::*, std::optional<std::string> Settings::*,
                 std::optional<PositionSource> Settings::*>;

struct SettingKey {
  const char* name;  ///< key of mission.toml; "--" before it makes the option
  const char* placeholder;
  const char* help;
  SettingMember member;
};

inline const std::array<SettingKey, 19> kSettingKeys{{
    {"trajectory", "FILE", "receiver log with the trajectory (NMEA sentences)", &Settings::trajectory},
    {"events", "FILE", "system event file with heartbeats and camera events", &Settings::events},
    {"log", "FILE", "housekeeping log", &Settings::log},
    {"cam1", "FOLDER", "photos of camera 1", &Settings::camera1},
    {"cam2", "FOLDER", "photos of camera 2", &Settings::camera2},
    {"pos", "FILE", "POS file, for a layer in the coordinates of --target", &Settings::pos},
    {"target", "WKT|FILE|EPSG:n[+m]", "coordinate system of the POS file's layer", &Settings::target},
    {"mrk", "FILE", "timestamp file of a drone's camera, in place of trajectory, events and cameras", &Settings::mrk},
    {"photos", "FOLDER", "the drone's photos (default: the folder of the timestamp file)", &Settings::photos},
    {"aos", "FILE", "orientation sensor file, of either kind", &Settings::aos},
    {"applanix", "FILE", "text export of a post-processed Applanix trajectory", &Settings::applanix},
    {"position", "mrk|pos", "places of a drone's photos: of the timestamp file (default), or post-processed",
     &Settings::position},
    {"date", "YYYY-MM-DD", "UTC date of the first fix (default: from the heartbeats, else from the log)",
     &Settings::date},
    {"pair", "order|time|auto", "how photos find their events (default auto: by time when most photos tell theirs)",
     &Settings::pair},
    {"cam1-offset", "SECONDS", "added to the photo times of camera 1", &Settings::camera1Offset},
    {"cam2-offset", "SECONDS", "added to the photo times of camera 2", &Settings::camera2Offset},
    {"max-gap", "SECONDS", "longest pause between fixes that is no gap (default 2)", &Settings::maxGap},
    {"tolerance", "SECONDS", "exposures nearer than this form a station (default 0.05)", &Settings::tolerance},
    {"blur-factor", "SHARE", "a photo below this share of its camera's median sharpness is named (default 0.25)",
     &Settings::blurFactor},
}};

/// Stores a setting given as text.
/// @return what is wrong with the text; empty when nothing is
std::string SetFromText(const SettingMember& member, std::string_view text, Settings& settings);

/// Fills in what `settings` leaves open.
void FillIn(Settings& settings, const Settings& defaults);

/// Reads a mission.toml. Its paths are relative to its folder.
/// @throws Failure when it cannot be read; one for wrong usage, with line and key, when it is no TOML or has an unknown
///         key or a value of the wrong type
Settings ReadMissionToml(const std::filesystem::path& path);

}  // namespace kv::mission
