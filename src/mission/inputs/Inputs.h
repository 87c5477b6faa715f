#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Job.h"

/// The kinds of files that the engine knows: how it recognises, finds, reads and describes them.
namespace kv::mission {

enum class FileKind {
  Unknown,
  Trajectory,
  Events,
  HousekeepingLog,
  Pos,
  Timestamps,
  DatedOrientation,
  ClockedOrientation,
  Applanix,
  Sbet,
  Gpx,
  Jpeg,
  Shapefile
};

/// The missions that look for an input in their folder.
enum class Bearer { None, Sensor, Drone, Any };

using Content = decltype(FileDescription::content);

struct Input {
  FileKind kind;
  const char* name;                          ///< "housekeeping log"
  const char* several;                       ///< "housekeeping logs"
  const char* key;                           ///< of the setting that names it; null for kinds that a run does not take
  std::filesystem::path Settings::*setting;  ///< that setting; null likewise
  Bearer bearer;
  Content (*describe)(const std::filesystem::path& path, double maxGapSeconds, Job& job);
};

/// A row for each kind.
const std::vector<Input>& Inputs();
const Input& InputOf(FileKind kind);

/// Recognises a file by its content. @throws Failure when it cannot be read
FileKind KindOfFile(const std::filesystem::path& path);

/// @param head  the first 32 KiB of a file, or all of it
FileKind KindOfContent(std::string_view head);

// Each reader reports what it leaves out. All throw Failure when the file cannot be read, and Failure (Stopped). Those of
// timestamps, orientation and exports refuse pipes and devices.

/// Whether a line begins as an entry of a housekeeping log does: a word, then a date and a time of day.
bool IsHousekeepingLine(std::string_view line);

/// @param path  may be a pipe
/// @see docs/formats/housekeeping.md
HousekeepingLog ReadHousekeepingLog(const std::filesystem::path& path, Job& job);

/// Whether a line is a drone's exposure, at a time and place that exist.
bool IsExposureLine(std::string_view line);

/// @param photoFolder  absolute; empty to look for no photos. Their paths have the system's own separator before the
///                     name
/// @throws Failure without an exposure
/// @see docs/formats/drone-timestamps.md
TimestampFile ReadTimestampFile(const std::filesystem::path& path, const std::filesystem::path& photoFolder, Job& job);

enum class OrientationLine { None, Dated, Clocked };

/// Tells how a line with the seven readings of the orientation sensor is stamped.
OrientationLine ClassifyOrientation(std::string_view line);

/// Reads an orientation file of either kind: with a date in each line, or stamped by the master clock. In the latter,
/// ticks are made continuous, stamps that contradict the others are left out, and a reading from before the first
/// heartbeat has no time.
/// @throws Failure without a reading
/// @see docs/formats/orientation.md
OrientationFile ReadOrientationFile(const std::filesystem::path& path, Job& job);

/// Whether a line ends the header of an Applanix export.
bool EndsApplanixHeader(std::string_view line);

/// Reads an Applanix export; it may have no usable row.
/// @param date  UTC time at which the mission began, or midnight before it; for a header without a date
/// @throws Failure without a header, or when it lacks columns
/// @see docs/formats/applanix.md
ApplanixExport ReadApplanixExport(const std::filesystem::path& path, Instant date, Job& job);

/// @return nothing when the file is too short
std::optional<ShapefileHeader> ReadShapefileHeader(const std::filesystem::path& path);

/// "PointZ"; "unknown" for a number that is not a shape type
std::string ShapeTypeName(std::int32_t type);

}  // namespace kv::mission
