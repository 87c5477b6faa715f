#pragma once
/// @file
/// The careful engine: a whole mission, from files of unknown quality to results that can be trusted.
///
/// `RunMission` reads, checks, places, pairs and grades; the `Mission` that it gives holds every record it read or made
/// and every finding it has to tell. Writers and renderers take that as constant. Several threads may run different
/// missions at once; nothing is set for the whole process but what `KVUtilities` documents. Times are UTC, angles
/// decimal degrees, lengths metres, unless a name says otherwise; texts are UTF-8.

#include "KVMission/Files.h"
#include "KVMission/Findings.h"
#include "KVMission/Geotags.h"
#include "KVMission/Mission.h"
#include "KVMission/Settings.h"
#include "KVMission/Values.h"
#include "KVRecords.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace KVMission {

/// A layer that was, or would be, written.
struct Layer {
  const char* name;
  std::size_t records;
};

/// Turns the inputs of a mission into records, and, where `settings.output` names a folder, into layers and
/// summary.json there.
/// @throws Failure when that cannot be done; the output folder then holds what it held before
KVMISSION_API Mission RunMission(const Settings& settings, Observer& observer);

/// The layers that a mission gives.
KVMISSION_API std::vector<Layer> LayersOf(const Mission& mission);

/// Writes the layers of a mission, and its summary.json, into a folder, which is made when it is not there. They get
/// their names once all are whole.
/// @param overwrite  replaces results that are there
/// @throws Failure when that cannot be done; the folder then holds what it held before
KVMISSION_API void WriteLayers(const Mission& mission, const std::filesystem::path& folder, bool overwrite,
                               Observer& observer);

/// A summary for people: lists are cut short, with a count.
KVMISSION_API std::string SummaryText(const Mission& mission);
/// A summary for programs, as in summary.json.
/// @param folder  of the layers; empty for `settings.output`
KVMISSION_API std::string SummaryJson(const Mission& mission, const std::filesystem::path& folder = {});

/// A page for people, which needs nothing beside it: docs/kvmission/report.md.
/// @param folder  of the page, whose links to photos are relative; empty for `settings.output`
KVMISSION_API std::string ReportHtml(const Mission& mission, const std::filesystem::path& folder = {});

/// "inside-gap"; never changes its meaning.
KVMISSION_API const char* CodeOf(DropCode code);

/// The sentence of a drop: "no place: inside a gap of 12.0 s".
KVMISSION_API std::string TextOf(const Drop& drop);

struct TrajectoryOptions {
  std::optional<Date> date;  ///< of the first fix; nothing to take it from the dated sentences of the log
  double maxGapSeconds = Settings().maxGapSeconds;
};
/// Reads a receiver log: position sentences that are whole and valid become fixes, everything else is counted.
/// @throws Failure without a usable fix, or when nothing tells the date; when the file cannot be read
KVMISSION_API Trajectory ReadTrajectory(const std::filesystem::path& path, const TrajectoryOptions& options,
                                        Observer& observer);

/// What a file is and holds.
struct FileDescription {
  std::filesystem::path file;
  std::string kind;  ///< "trajectory log (NMEA)"; "unknown"
  std::optional<std::uint64_t> bytes;
  std::variant<std::monostate, Trajectory, EventFile, HousekeepingLog, PosFile, TimestampFile, OrientationFile,
               ApplanixExport, SbetFile, GpxFile, PhotoFile, ShapefileHeader>
      content;
  double maxGapSeconds = 0;  ///< also between heartbeats
  std::vector<Finding> findings;
};
/// Recognises a file by its content and describes it.
/// @throws Failure when the file cannot be read, or is not a regular file
KVMISSION_API FileDescription DescribeFile(const std::filesystem::path& path, double maxGapSeconds, Observer& observer);
KVMISSION_API std::string DescriptionText(const FileDescription& description);  ///< long lists are cut short
KVMISSION_API std::string DescriptionJson(const std::vector<FileDescription>& descriptions);

/// The geodetic data in use, for people and as JSON. @throws Failure
KVMISSION_API std::string GeodeticDataText();
KVMISSION_API std::string GeodeticDataJson();

struct TransformSettings {
  std::filesystem::path pos;
  std::string target;            ///< coordinate system: a file, WKT or codes
  std::filesystem::path output;  ///< ends in .shp, .csv or .xyz; empty to give the CSV to `write`
  unsigned jobs = 0;             ///< threads; 0 for as many as there are processors
  bool overwrite = false;
};
/// Transforms a POS file to a coordinate system, into a file or layer that gets its name once it is whole.
/// @param write  takes the text of the table, piece by piece, when there is no output
/// @return       without samples
/// @throws Failure when no sample can be transformed; when a file cannot be read or written
KVMISSION_API PosPoints TransformPos(const TransformSettings& settings,
                                     const std::function<void(const std::string&)>& write, Observer& observer);
/// Reads a POS file, and transforms its samples to a coordinate system, into records.
/// @param settings  without an output
/// @throws as `TransformPos`
KVMISSION_API PosPoints ReadPos(const TransformSettings& settings, Observer& observer);
KVMISSION_API std::string PosText(const PosPoints& points);
KVMISSION_API std::string PosJson(const PosPoints& points);

/// What grading one photo gave.
struct Grade {
  double sharpness = 0;   ///< variance of the Laplacian; 0 after a failure
  std::string complaint;  ///< why it could not be graded; empty when it could
  std::string damage;  ///< why the sharpness may be wrong: what the decoder said of the picture; empty when it is whole
};
struct GradeOptions {
  unsigned jobs = 0;  ///< photos at a time; 0 for as many as there are processors
  double maxMegapixels = Settings().maxMegapixels;
};
/// Grades photos, several at a time; the grades do not depend on how many. Usual JPEGs take a few megabytes.
/// @return  a grade for each path, in the same order
KVMISSION_API std::vector<Grade> GradePhotos(const std::vector<std::filesystem::path>& photos,
                                             const GradeOptions& options, Observer& observer);

/// A table of paths and grades for programs; photos that could not be graded are left out of the CSV.
/// @param visible  control characters in paths are shown, for a terminal
KVMISSION_API std::string GradesCsv(const std::vector<std::filesystem::path>& photos, const std::vector<Grade>& grades,
                                    bool visible);
KVMISSION_API std::string GradesJson(const std::vector<std::filesystem::path>& photos,
                                     const std::vector<Grade>& grades);

/// The folder of one camera's photos in a mission: that of the mission.toml, else the one found by name.
/// @param allowOutside  the mission.toml may name a folder outside of the mission's
/// @throws Failure when there is none, or several
KVMISSION_API std::filesystem::path FindCameraFolder(const std::filesystem::path& mission, int camera,
                                                     bool allowOutside, Observer& observer);

/// The names of a folder's JPEG photos in order; hidden files are not photos. @throws Failure
KVMISSION_API std::vector<std::filesystem::path> PhotosIn(const std::filesystem::path& folder);

/// Rotates a photo in place. Keeps its metadata, permissions and, where the system allows it, its owner. At every
/// moment the file is either the old photo or the rotated one, complete.
/// @param angleDegrees  positive turns counter-clockwise
/// @param backupFolder  receives the old photo first; empty for no backup
/// @throws Failure when the photo cannot be read, turned or replaced, or is damaged; when the backup holds another
///         photo of the name, which an earlier run then has turned already. The photo is then as it was.
/// @param maxMegapixels  a photo that claims more is refused
KVMISSION_API void RotatePhoto(const std::filesystem::path& photo, double angleDegrees,
                               const std::filesystem::path& backupFolder,
                               double maxMegapixels = Settings().maxMegapixels);

/// A path as valid UTF-8; bytes that are not text become U+FFFD.
KVMISSION_API std::string Utf8(const std::filesystem::path& path);
/// Text with its control characters written like \u001b, so that a file name cannot control a terminal.
KVMISSION_API std::string Visible(const std::string& text);

KVMISSION_API const char* Version();

}  // namespace KVMission
