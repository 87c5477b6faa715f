#include "mission/inputs/FileKind.h"

#include <string>

#include "mission/inputs/ApplanixExport.h"
#include "mission/inputs/EventFile.h"
#include "mission/inputs/HousekeepingLog.h"
#include "mission/inputs/OrientationFile.h"
#include "mission/inputs/TimestampFile.h"
#include "readers/LineReader.h"
#include "readers/NmeaSentence.h"
#include "readers/PosLine.h"
#include "text/Blanks.h"

namespace kv::mission {
namespace {

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

struct LineCounts {
  std::size_t lines = 0, sentences = 0, events = 0, heartbeats = 0, otherEvents = 0, housekeeping = 0, pos = 0;
  std::size_t exposures = 0, datedReadings = 0, clockedReadings = 0, applanixHeaders = 0;
};

LineCounts CountLines(std::string_view head) {
  LineCounts counts;
  Sentence sentence;
  while (!head.empty()) {
    const std::string_view line = TakeLine(head);
    const LineKind kind = Classify(line, sentence);
    const EventKind event = ParseEventLine(line).kind;
    const OrientationLine orientation = ClassifyOrientation(line);
    if (kind == LineKind::Blank) continue;
    ++counts.lines;
    counts.sentences += kind != LineKind::NotASentence && kind != LineKind::BadChecksum;
    counts.events += event != EventKind::Other;
    counts.heartbeats += event == EventKind::Heartbeat;
    counts.otherEvents += event == EventKind::CameraEvent && orientation != OrientationLine::Clocked;
    counts.housekeeping += IsHousekeepingLine(line);
    counts.pos += IsPosLine(line);
    counts.exposures += ExposureNumber(line).has_value();
    counts.datedReadings += orientation == OrientationLine::Dated;
    counts.clockedReadings += orientation == OrientationLine::Clocked;
    counts.applanixHeaders += EndsApplanixHeader(line);
  }
  return counts;
}

}  // namespace

FileKind KindOfContent(std::string_view head) {
  if (head.substr(0, kJpegStart.size()) == kJpegStart) return FileKind::Jpeg;
  if (head.substr(0, kShapefileStart.size()) == kShapefileStart) return FileKind::Shapefile;
  const LineCounts counts = CountLines(WithoutByteOrderMark(head));
  // Logs begin with comments or half a line often enough; a tenth of the lines tells.
  const auto prevail = [&](std::size_t count) { return count > 0 && 10 * count >= counts.lines; };
  if (counts.applanixHeaders > 0) return FileKind::Applanix;
  // Readings may be rare among heartbeats, and have as many fields as a POS line; an event file may have lost line ends.
  const bool hasReadings = counts.clockedReadings > counts.otherEvents;
  if (hasReadings && counts.heartbeats > 0 && prevail(counts.heartbeats + counts.clockedReadings))
    return FileKind::ClockedOrientation;
  // A timestamp scan takes a week without brackets, too, and so most POS lines; numbers between commas may be readings.
  if (!prevail(counts.pos)) {
    if (prevail(counts.exposures)) return FileKind::DroneTimestamps;
    if (prevail(counts.datedReadings)) return FileKind::DatedOrientation;
    if (hasReadings && prevail(counts.clockedReadings)) return FileKind::ClockedOrientation;
  }
  if (prevail(counts.sentences)) return FileKind::Trajectory;
  if (counts.heartbeats > 0 && prevail(counts.events)) return FileKind::Events;
  if (prevail(counts.housekeeping)) return FileKind::HousekeepingLog;
  if (prevail(counts.pos)) return FileKind::Pos;
  return FileKind::Unknown;
}

FileKind KindOfFile(const std::filesystem::path& path) { return KindOfContent(ReadBeginning(path, kHeadLength)); }

}  // namespace kv::mission
