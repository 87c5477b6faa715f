#pragma once
/// @file
/// The settings of a run, and their form as text.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "KVMission/Values.h"

namespace KVMission {

enum class PairBy { Auto, Time, Order };

/// Source of the places of a drone's photos.
enum class PositionSource { Timestamps, PostProcessed };

/// What the heights of results for other programs are above. Shapefile sets and GeoPackage always have ellipsoidal ones.
enum class Heights {
  Ellipsoidal,
  Geoid,  ///< of EGM96
};

/// What is added to the times of a camera's photos.
struct ClockOffset {
  double seconds = 0;
  bool find = false;  ///< from the times of photos and events; `seconds` has no effect then

  bool operator==(const ClockOffset& other) const { return seconds == other.seconds && find == other.find; }
  bool operator!=(const ClockOffset& other) const { return !(*this == other); }
};

/// Vector from the antenna, or whatever point a trajectory follows, to a camera, along the axes of the sensor; metres.
struct LeverArm {
  double forward = 0, right = 0, down = 0;

  bool operator==(const LeverArm& other) const {
    return forward == other.forward && right == other.right && down == other.down;
  }
  bool operator!=(const LeverArm& other) const { return !(*this == other); }
};

/// Settings of a run. An input with an empty path is looked for in the mission folder.
struct Settings {
  std::filesystem::path mission;          ///< folder; empty when all inputs are named
  std::filesystem::path output;           ///< folder for layers and summary.json; empty to write nothing
  std::filesystem::path trajectory;       ///< receiver log or post-processed trajectory
  std::filesystem::path otherTrajectory;  ///< the other one of these, to be compared
  std::filesystem::path events;           ///< system event file
  std::filesystem::path housekeeping;     ///< housekeeping log
  std::filesystem::path camera1;          ///< folder of photos
  std::filesystem::path camera2;          ///< folder of photos
  std::filesystem::path pos;              ///< POS file
  std::string target;  ///< coordinate system of its layer, and of files for photogrammetry: a file, WKT or codes
  std::filesystem::path timestamps;   ///< timestamp file of a drone
  std::filesystem::path photos;       ///< folder of the drone's photos; empty for that of the timestamp file
  std::filesystem::path orientation;  ///< orientation file
  std::filesystem::path applanix;     ///< Applanix export
  PositionSource position = PositionSource::Timestamps;
  bool timestampOffsets = false;  ///< moves the places of the timestamp file by its antenna-to-camera offsets
  std::optional<Date> date;       ///< of the first fix; nothing to take it from the files
  PairBy pair = PairBy::Auto;
  ClockOffset camera1Offset;            ///< checked against the times of photos and events
  ClockOffset camera2Offset;            ///< likewise
  double eventOffsetSeconds = 0;        ///< added to the times of the event file
  double camera1DelayMilliseconds = 0;  ///< from a camera event to its exposure
  double camera2DelayMilliseconds = 0;  ///< likewise
  LeverArm camera1LeverArm;             ///< zeros: the camera is where the trajectory is
  LeverArm camera2LeverArm;             ///< likewise
  bool headingFromTrack = false;     ///< for exposures without another attitude; roll and pitch are then taken to be 0
  double maxGapSeconds = 2;          ///< longest pause between fixes that is not a gap
  double toleranceSeconds = 0.05;    ///< exposures of the two cameras nearer than this form a station
  double blurFactor = 0.25;          ///< share of a camera's median sharpness below which a photo is named
  bool grade = true;                 ///< the photos, by sharpness
  double maxMegapixels = 1000;       ///< photos that claim more are not decoded
  std::vector<std::string> outputs;  ///< by the names of `OutputKinds`; empty for those made by default
  Heights heights = Heights::Ellipsoidal;  ///< in files for photogrammetry
  double thumbnailMegabytes = 8;           ///< of all pictures in the report; blurred and dropped ones come first
  unsigned jobs = 0;                       ///< threads; 0 for as many as there are processors
  bool overwrite = false;                  ///< replaces the results of an earlier run
  bool acceptDoubt = false;                ///< makes the photo layer although results are in doubt
  bool allowOutside = false;               ///< changes photos in the folders of `outside`
  std::vector<std::string> outside;        ///< keys of mission.toml whose paths lead out of the mission folder
  bool skipUnreadable = false;             ///< goes on without files of the mission folder that cannot be read
};

/// A kind of result that a run can write.
struct OutputKind {
  const char* name;  ///< "gpkg"
  const char* help;
  bool isDefault;
};
KVMISSION_API const std::vector<OutputKind>& OutputKinds();

/// A setting as text: on a command line, in a mission.toml.
struct SettingKey {
  enum class Type { Path, Text, CalendarDate, Number, NumberOrAuto, Count, Choice, Flag };

  const char* name;         ///< "max-gap"
  const char* placeholder;  ///< "SECONDS"; empty for a flag
  std::string help;
  Type type;
  bool inMissionFile;   ///< mission.toml may have it
  bool isList = false;  ///< may be given twice; mission.toml may have an array
};
KVMISSION_API const std::vector<SettingKey>& SettingKeys();

/// Stores a setting given as text. A flag takes "true" or "false".
/// @throws Failure (WrongUsage) "KEY must be ..."
KVMISSION_API void Set(Settings& settings, const std::string& key, const std::string& text);

/// The settings of a mission folder: the defaults, changed by its mission.toml if it has one.
/// @throws Failure when there is no such folder; (WrongUsage) with the line when the file is not valid
KVMISSION_API Settings SettingsOf(const std::filesystem::path& mission);

}  // namespace KVMission
