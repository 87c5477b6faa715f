#include "mission/inputs/Inputs.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <system_error>

#include "mission/inputs/EventFile.h"
#include "mission/inputs/GpxFile.h"
#include "mission/inputs/PosFile.h"
#include "mission/inputs/SbetFile.h"
#include "mission/inputs/Trajectory.h"
#include "photos/JpegHeader.h"
#include "photos/PhotoTimes.h"
#include "platform/FileNames.h"
#include "readers/GpxTrack.h"
#include "readers/LineReader.h"
#include "readers/NmeaSentence.h"
#include "readers/PosLine.h"
#include "text/Blanks.h"

namespace kv::mission {
namespace {

using Path = std::filesystem::path;

constexpr std::size_t kHeadLength = 32 * 1024;
constexpr std::string_view kJpegStart = "\xFF\xD8\xFF";
constexpr std::string_view kShapefileStart("\x00\x00\x27\x0A", 4);  // file code 9994

std::string_view TakeLine(std::string_view& text) {
  const std::size_t length = text.find('\n');
  std::string_view line = text.substr(0, length);
  text.remove_prefix(length == std::string_view::npos ? text.size() : length + 1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

/// Counts the lines at the beginning of a file by what they look like; a line may look like several things.
struct LineCounts {
  std::size_t lines = 0, sentences = 0, events = 0, heartbeats = 0, otherEvents = 0, housekeeping = 0, pos = 0;
  std::size_t exposures = 0, datedReadings = 0, clockedReadings = 0, applanixHeaders = 0;
  bool hasPosHeader = false;

  /// Files often begin with comments or half a line, so a tenth of the lines is enough.
  bool Prevail(std::size_t count) const { return count > 0 && 10 * count >= lines; }
  /// An event file that has lost line ends looks like readings, too.
  bool HasReadings() const { return clockedReadings > otherEvents; }
};

LineCounts CountLines(std::string_view head) {
  LineCounts counts;
  Sentence sentence;
  PosHeader header;
  PosLineReader pos;
  LocalCalendar calendar(Calendar::Utc);
  while (!head.empty()) {
    const std::string_view line = TakeLine(head);
    const SentenceKind kind = Classify(line, sentence);
    const bool isSentence =
        kind != SentenceKind::Blank && kind != SentenceKind::NotASentence && kind != SentenceKind::BadChecksum;
    if (isSentence && line[0] == '$') {  // is nothing else
      ++counts.lines, ++counts.sentences;
      continue;
    }
    const EventKind event = ClassifyEvent(line, calendar).kind;
    const OrientationLine orientation = ClassifyOrientation(line);
    if (kind == SentenceKind::Blank) continue;
    ++counts.lines;
    counts.sentences += isSentence;
    counts.events += event != EventKind::Other;
    counts.heartbeats += event == EventKind::Heartbeat;
    counts.otherEvents += event == EventKind::CameraEvent && orientation != OrientationLine::Clocked;
    counts.housekeeping += IsHousekeepingLine(line);
    BeginsNumber(line) ? header.EndBlock() : header.ReadComment(line);
    if (header.Form() != pos.Form()) pos.Use(header.Form());
    const PosLineKind posKind = pos.Read(line);
    counts.pos += posKind == PosLineKind::Sample || posKind == PosLineKind::Baseline;
    counts.exposures += IsExposureLine(line);
    counts.datedReadings += orientation == OrientationLine::Dated;
    counts.clockedReadings += orientation == OrientationLine::Clocked;
    counts.applanixHeaders += EndsApplanixHeader(line);
  }
  counts.hasPosHeader = header.IsFound();
  return counts;
}

/// The first rule that holds decides. Most POS lines also look like exposures whose week lacks brackets, and may look
/// like readings between commas.
struct Rule {
  FileKind kind;
  bool (*holds)(const LineCounts& counts);
};
constexpr auto kRules = std::to_array<Rule>({
    {FileKind::Applanix, [](const LineCounts& n) { return n.applanixHeaders > 0; }},
    {FileKind::ClockedOrientation,
     [](const LineCounts& n) {
       return n.HasReadings() && n.heartbeats > 0 && n.Prevail(n.heartbeats + n.clockedReadings);
     }},
    {FileKind::Timestamps, [](const LineCounts& n) { return !n.Prevail(n.pos) && n.Prevail(n.exposures); }},
    {FileKind::DatedOrientation, [](const LineCounts& n) { return !n.Prevail(n.pos) && n.Prevail(n.datedReadings); }},
    {FileKind::ClockedOrientation,
     [](const LineCounts& n) { return !n.Prevail(n.pos) && n.HasReadings() && n.Prevail(n.clockedReadings); }},
    {FileKind::Trajectory, [](const LineCounts& n) { return n.Prevail(n.sentences); }},
    {FileKind::Events, [](const LineCounts& n) { return n.heartbeats > 0 && n.Prevail(n.events); }},
    {FileKind::HousekeepingLog, [](const LineCounts& n) { return n.Prevail(n.housekeeping); }},
    {FileKind::Pos, [](const LineCounts& n) { return n.Prevail(n.pos) || n.hasPosHeader; }},
});

Content DescribeNothing(const Path&, double, Job&) { return {}; }

Content DescribeTrajectory(const Path& path, double maxGapSeconds, Job& job) {
  Trajectory trajectory = ReadTrajectoryFile(path, {{}, {}, false}, maxGapSeconds, job);
  TellOfTrajectory(trajectory, kReceiverWords, job);
  return trajectory;
}

template <auto kRead>
Content Describe(const Path& path, double, Job& job) {
  return kRead(path, job);
}

Content DescribeEvents(const Path& path, double, Job& job) { return ReadEventFile(path, job); }

Content DescribeTimestamps(const Path& path, double, Job& job) { return ReadTimestampFile(path, {}, job); }

/// Without a date in the header the week is not known, but the seconds of week are.
Content DescribeApplanix(const Path& path, double, Job& job) {
  constexpr std::chrono::sys_days kAnyDate = std::chrono::year{1980} / std::chrono::January / 6;
  return ReadApplanixExport(path, kAnyDate, job);
}

Content DescribeSbet(const Path& path, double, Job& job) {
  std::vector<RawFix> fixes;
  return ReadSbetFile(path, std::nullopt, fixes, job);
}

Content DescribePhoto(const Path& path, double, Job&) {
  std::error_code unreadable;
  const auto header = ReadJpegHeader(path, &unreadable).value_or(JpegHeader{});
  if (unreadable) FailReading(path, unreadable);
  const auto exif = ExifTimeOriginal(header.exif);
  PhotoFile photo{header.width, header.height, StampTime(WidePath(path.filename())), {}, false};
  if (exif) photo.timeInExif = exif->time, photo.timeZoneKnown = exif->zoneKnown;
  return photo;
}

Content DescribeShapefile(const Path& path, double, Job& job) {
  const auto header = ReadShapefileHeader(path);
  if (!header) throw Failure(Utf8(path) + ": the header of the Shapefile is cut short");
  if (!header->records) job.Add(Found::ShxMissing, {}, {.file = path});
  return *header;
}

}  // namespace

const std::vector<Input>& Inputs() {
  using enum FileKind;
  static const std::vector<Input> inputs{
      {Trajectory, "trajectory log (NMEA)", "trajectories", "trajectory", &Settings::trajectory, Bearer::Sensor,
       DescribeTrajectory},
      {Events, "system event file", "event files", "events", &Settings::events, Bearer::Sensor, DescribeEvents},
      {HousekeepingLog, "housekeeping log", "housekeeping logs", "housekeeping", &Settings::housekeeping,
       Bearer::Sensor, Describe<ReadHousekeepingLog>},
      {Timestamps, "drone timestamp file", "timestamp files of a drone", "timestamps", &Settings::timestamps,
       Bearer::Drone, DescribeTimestamps},
      {DatedOrientation, "orientation sensor log", "orientation files", "orientation", &Settings::orientation,
       Bearer::Any, Describe<ReadOrientationFile>},
      {ClockedOrientation, "orientation sensor log, stamped by the master clock", "orientation files", "orientation",
       &Settings::orientation, Bearer::Any, Describe<ReadOrientationFile>},
      {Pos, "POS file", "POS files", "pos", &Settings::pos, Bearer::None, Describe<ReadPosFile>},
      {Applanix, "post-processed Applanix trajectory", "Applanix exports", "applanix", &Settings::applanix,
       Bearer::None, DescribeApplanix},
      {Sbet, "post-processed trajectory (SBET)", "SBET files", nullptr, nullptr, Bearer::None, DescribeSbet},
      {Gpx, "GPX track", "GPX tracks", nullptr, nullptr, Bearer::None, Describe<ReadGpxFile>},
      {Jpeg, "photo (JPEG)", "photos", nullptr, nullptr, Bearer::None, DescribePhoto},
      {Shapefile, "Shapefile", "Shapefiles", nullptr, nullptr, Bearer::None, DescribeShapefile},
      {Unknown, "unknown", "files", nullptr, nullptr, Bearer::None, DescribeNothing}};
  return inputs;
}

const Input& InputOf(FileKind kind) {
  return *std::find_if(Inputs().begin(), Inputs().end(), [&](const Input& input) { return input.kind == kind; });
}

FileKind KindOfContent(std::string_view head) {
  if (head.starts_with(kJpegStart)) return FileKind::Jpeg;
  if (head.starts_with(kShapefileStart)) return FileKind::Shapefile;
  if (BeginsLikeSbet(head)) return FileKind::Sbet;
  if (BeginsLikeGpx(head)) return FileKind::Gpx;
  const LineCounts counts = CountLines(WithoutByteOrderMark(head));
  const auto rule = std::find_if(kRules.begin(), kRules.end(), [&](const Rule& entry) { return entry.holds(counts); });
  return rule == kRules.end() ? FileKind::Unknown : rule->kind;
}

FileKind KindOfFile(const Path& path) { return KindOfContent(ReadBeginning(path, kHeadLength)); }

}  // namespace kv::mission

KVMission::FileDescription KVMission::DescribeFile(const std::filesystem::path& path, double maxGapSeconds,
                                                   Observer& observer) {
  using namespace kv::mission;
  std::error_code error;
  if (std::filesystem::is_other(path, error)) throw Failure(Utf8(path) + ": not a regular file");
  const Input& input = InputOf(KindOfFile(path));
  Job job(observer);
  FileDescription description;
  description.file = path;
  description.kind = input.name;
  description.maxGapSeconds = maxGapSeconds;
  const auto size = std::filesystem::file_size(path, error);
  if (!error)
    description.bytes = size;
  else if (std::filesystem::is_regular_file(path))  // a pipe has no size
    FailReading(path, error);
  description.content = input.describe(path, maxGapSeconds, job);
  description.findings = job.Findings();
  return description;
}
