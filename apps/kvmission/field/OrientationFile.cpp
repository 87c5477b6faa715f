#include "field/OrientationFile.h"

#include <KVUtilities.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "Failure.h"
#include "System.h"
#include "field/EventLog.h"
#include "field/FileKind.h"
#include "field/LineReader.h"
#include "field/Numbers.h"
#include "field/Tokens.h"

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

std::string_view WithoutBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  return text.substr(0, text.find_last_not_of(" \t") + 1);
}

bool IsDated(std::string_view token) {
  token = WithoutBlanks(token);
  return token.size() > 7 && token[4] == '-' && token[7] == '-';
}

/// @param tokens  behind the stamp
bool AreReadings(std::span<const std::string_view> tokens) {
  if (tokens.size() != kReadings) return false;
  const auto decimals = tokens.first(kReadings - kStates), states = tokens.last(kStates);
  const auto isDecimal = [](std::string_view token) { return Decimal(WithoutBlanks(token)).has_value(); };
  const auto isWhole = [](std::string_view token) {
    return WholeNumber<std::int32_t>(WithoutBlanks(token)).has_value();
  };
  return std::all_of(decimals.begin(), decimals.end(), isDecimal) && std::all_of(states.begin(), states.end(), isWhole);
}

void CountLines(const std::filesystem::path& path, OrientationFile& file) {
  LineReader reader(path);
  for (std::string_view line; reader.Next(line); ++file.lines) {
    file.skipped += line.find_first_not_of(" \t") != std::string_view::npos;
    file.heartbeats += file.byMasterClock && ParseEventLine(line).kind == EventKind::Heartbeat;
  }
}

/// @param complaint  receives the library's sentence
std::vector<tagKVAosEvent> Scan(const std::filesystem::path& path, bool byMasterClock, std::wstring& complaint) {
  if (!byMasterClock) return KVUtilities::ScanKVAosFile(WidePath(path), complaint);
  try {
    return KVUtilities::ScanKVAosFileForQX7(WidePath(path), complaint);
  } catch (const std::out_of_range&) {
    throw Failure(Utf8(path) + ": a heartbeat has no valid date and time");
  }
}

void AddReadings(const std::vector<tagKVAosEvent>& events, OrientationFile& file) {
  std::array<std::optional<ReadingRange>, kAosReadings.size()> ranges;
  for (const auto& event : events) {
    const bool isTimed = KVUtilities::FiletimeToInt64(event.TimeUTC) > 0;
    const auto time = isTimed ? std::optional(FromFileTime(event.TimeUTC)) : std::nullopt;
    if (time) file.span.Add(*time);
    file.untimed += !isTimed;
    for (std::size_t i = 0; i < ranges.size(); ++i)
      Widen(ranges[i], kAosReadings[i].name, {event.*kAosReadings[i].value, time});
  }
  for (const auto& range : ranges) file.ranges.push_back(*range);
}

}  // namespace

OrientationLine ClassifyOrientation(std::string_view line) {
  const Tokens tokens(line, ",");
  for (std::size_t place = 0; place <= kDateAtMost && place + 1 < tokens.size(); ++place) {
    if (IsDated(tokens[place]))
      return AreReadings(tokens.From(place + 1)) ? OrientationLine::Dated : OrientationLine::None;
  }
  const bool isClocked = tokens.size() == kReadings + 1 && Integer(tokens[0]) && AreReadings(tokens.From(1));
  return isClocked ? OrientationLine::Clocked : OrientationLine::None;
}

OrientationFile ReadOrientationFile(const std::filesystem::path& path, Log& log) {
  OrientationFile file;
  file.byMasterClock = KindOfFile(path) == FileKind::ClockedOrientation;
  CountLines(path, file);
  std::wstring complaint;
  const auto events = Scan(path, file.byMasterClock, complaint);
  if (events.empty())
    throw Failure(fmt::format("{}: no orientation reading in {}", Utf8(path), Counted(file.lines, "line")));
  file.readings = events.size();
  file.skipped -= std::min(file.skipped, file.readings + file.heartbeats);
  AddReadings(events, file);
  if (!complaint.empty()) log.Warn("orientation: {}", Utf8(complaint));
  if (file.skipped > 0)
    log.Warn("orientation: {} skipped: without a stamp and seven numbers", Counted(file.skipped, "line"));
  if (file.untimed > 0) log.Warn("orientation: {} without a time", Counted(file.untimed, "reading"));
  return file;
}

}  // namespace kv::mission
