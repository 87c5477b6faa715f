#include "mission/inputs/OrientationFile.h"

#include <KVUtilities.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <tuple>
#include <utility>

#include "base/Failure.h"
#include "mission/inputs/ClockedOrientation.h"
#include "mission/inputs/FileKind.h"
#include "mission/inputs/LineWriter.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "text/Blanks.h"
#include "text/Numbers.h"
#include "text/Tokens.h"

namespace kv::mission {
namespace {

constexpr std::size_t kReadings = 7;    // board temperature, three angles, three states
constexpr std::size_t kStates = 3;      // whole numbers, at the end
constexpr std::size_t kDateAtMost = 2;  // places before the date: severity and device

struct AosReading {
  ReadingName name;
  double tagKVAosEvent::*value;
};
constexpr std::array<AosReading, 3> kAosReadings{{
    {{"boardTemperature", "orientation sensor temperature"}, &tagKVAosEvent::BrdTemp},
    {{"pitch", "pitch"}, &tagKVAosEvent::Pitch},
    {{"roll", "roll"}, &tagKVAosEvent::Roll},
}};

bool IsDated(std::string_view token) {
  token = WithoutBlanks(token);
  return token.size() >= 10 && Digits(token.substr(0, 1)) && token[4] == '-' && token[7] == '-';
}

/// @param tokens  behind the stamp; numbers that are not finite are readings, too
bool AreReadings(std::span<const std::string_view> tokens) {
  if (tokens.size() < kReadings) return false;
  const auto decimals = tokens.first(kReadings - kStates), states = tokens.subspan(kReadings - kStates, kStates);
  const auto isDecimal = [](std::string_view token) { return WholeDouble(WithoutBlanks(token)).has_value(); };
  const auto isWhole = [](std::string_view token) { return WholeInteger32(WithoutBlanks(token)).has_value(); };
  return std::all_of(decimals.begin(), decimals.end(), isDecimal) && std::all_of(states.begin(), states.end(), isWhole);
}

/// Writes the readings with a date.
/// @return their lines
LineNumbers CopyDated(const std::filesystem::path& path, const std::filesystem::path& copy, OrientationFile& file) {
  LineReader reader(path, CtrlZ::EndsText);
  LineWriter writer(copy);
  LineNumbers lines;
  for (std::string_view line; reader.Next(line);) {
    if (++file.lines == 1) line = WithoutByteOrderMark(line);
    if (ClassifyOrientation(line) == OrientationLine::Dated) {
      lines.push_back(file.lines);
      (writer.Text() += line) += '\n';
      writer.LineDone();
    } else if (!WithoutBlanks(line).empty()) {
      file.skipped.push_back(file.lines);
    }
  }
  writer.Close();
  return lines;
}

/// @param file  tells the kind, and receives what is left out
/// @return      the lines of the readings, and the clock of the variant
std::pair<LineNumbers, ClockedOrientation> CopyLines(const std::filesystem::path& path,
                                                     const std::filesystem::path& copy, OrientationFile& file) {
  if (!file.byMasterClock) return {CopyDated(path, copy, file), ClockedOrientation{}};
  ClockedOrientation clocked = ReadStamps(path, file);
  CopyClocked(path, copy, clocked);
  return {clocked.Readings(), std::move(clocked)};
}

/// @param complaint  receives the library's sentence
std::vector<tagKVAosEvent> Scan(const std::filesystem::path& copy, bool byMasterClock, std::wstring& complaint) {
  return byMasterClock ? KVUtilities::ScanKVAosFileForQX7(WidePath(copy), complaint)
                       : KVUtilities::ScanKVAosFile(WidePath(copy), complaint);
}

void AddReadings(const std::vector<tagKVAosEvent>& events, const LineNumbers& lines, OrientationFile& file, Log& log) {
  std::array<std::optional<ReadingRange>, kAosReadings.size()> ranges;
  LineNumbers unread;
  for (std::size_t i = 0; i < events.size(); ++i) {
    const bool isTimed = KVUtilities::FiletimeToInt64(events[i].TimeUTC) > 0;
    const auto time = isTimed ? std::optional(FromFileTime(events[i].TimeUTC)) : std::nullopt;
    if (time) file.span.Add(*time);
    file.untimed += !isTimed;
    for (std::size_t k = 0; k < ranges.size(); ++k) {
      const double value = events[i].*kAosReadings[k].value;
      if (std::isfinite(value)) {
        Widen(ranges[k], kAosReadings[k].name, {value, time});
      } else {
        unread.push_back(lines[i]);
      }
    }
  }
  for (const auto& range : ranges) {
    if (range) file.ranges.push_back(*range);
  }
  if (!unread.empty()) WarnOfUnread("orientation", unread.size(), unread[0], log);
}

void WarnOfLines(const OrientationFile& file, Log& log) {
  const auto warn = [&](const char* noun, const char* fault, const LineNumbers& lines) {
    if (!lines.empty()) log.Warn("orientation: {} left out, {}: {}", Counted(lines.size(), noun), Named(lines), fault);
  };
  warn("line", "without a stamp and seven numbers", file.skipped);
  warn("heartbeat", "no valid date and time", file.faultyHeartbeats);
  warn("line", kWildTick, file.wildTicks);
  warn("heartbeat", kOffHeartbeat, file.offHeartbeats);
}

}  // namespace

OrientationLine ClassifyOrientation(std::string_view line) {
  std::array<std::string_view, kDateAtMost + 1 + kReadings> buffer;
  const std::span<const std::string_view> tokens = Tokenise(line, Delimiters(","), buffer);
  for (std::size_t place = 0; place <= kDateAtMost && place + 1 < tokens.size(); ++place) {
    if (IsDated(tokens[place]))
      return AreReadings(tokens.subspan(place + 1)) ? OrientationLine::Dated : OrientationLine::None;
  }
  const bool isClocked = tokens.size() > kReadings && WholeInteger(tokens[0]) && AreReadings(tokens.subspan(1));
  return isClocked ? OrientationLine::Clocked : OrientationLine::None;
}

OrientationFile ReadOrientationFile(const std::filesystem::path& path, const std::filesystem::path& scratch, Log& log) {
  RefuseUnlessRegular(path);
  const auto copy = scratch / "orientation";
  OrientationFile file;
  file.byMasterClock = KindOfFile(path) == FileKind::ClockedOrientation;
  auto [lines, clocked] = CopyLines(path, copy, file);
  if (lines.empty()) {  // few readings among other lines do not show at the beginning
    const bool other = !file.byMasterClock;
    file = OrientationFile();
    file.byMasterClock = other;
    std::tie(lines, clocked) = CopyLines(path, copy, file);
  }
  if (lines.empty())
    throw Failure(fmt::format("{}: no orientation reading in {}", Utf8(path), Counted(file.lines, "line")));
  file.readings = lines.size();
  std::wstring complaint;
  auto events = Scan(copy, file.byMasterClock, complaint);
  if (events.size() != file.readings) throw Failure(Utf8(path) + ": the readings could not be read back");
  WarnOfLines(file, log);
  if (!complaint.empty()) {
    log.Warn("orientation: {}", Utf8(complaint));
  } else if (file.byMasterClock) {
    ClearUnsoundTimes(clocked, events, log);
  }
  AddReadings(events, lines, file, log);
  if (file.untimed > 0) log.Warn("orientation: {} without a time", Counted(file.untimed, "reading"));
  return file;
}

}  // namespace kv::mission
