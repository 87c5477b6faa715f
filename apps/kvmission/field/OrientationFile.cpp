#include "field/OrientationFile.h"

#include <KVUtilities.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <tuple>
#include <utility>

#include "Failure.h"
#include "System.h"
#include "field/EventLog.h"
#include "field/EventRecords.h"
#include "field/FileKind.h"
#include "field/LineReader.h"
#include "field/LineWriter.h"
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

bool IsDated(std::string_view token) {
  token = WithoutBlanks(token);
  return token.size() >= 10 && Digits(token.substr(0, 1)) && token[4] == '-' && token[7] == '-';
}

/// @param tokens  behind the stamp; numbers that are not finite are readings, too
bool AreReadings(std::span<const std::string_view> tokens) {
  if (tokens.size() < kReadings) return false;
  const auto decimals = tokens.first(kReadings - kStates), states = tokens.subspan(kReadings - kStates, kStates);
  const auto isDecimal = [](std::string_view token) { return WholeNumber<double>(WithoutBlanks(token)).has_value(); };
  const auto isWhole = [](std::string_view token) {
    return WholeNumber<std::int32_t>(WithoutBlanks(token)).has_value();
  };
  return std::all_of(decimals.begin(), decimals.end(), isDecimal) && std::all_of(states.begin(), states.end(), isWhole);
}

/// What the variant's stamps tell before the scan, with continuous ticks.
class Clock {
 public:
  std::int64_t Stamp(std::int64_t tick) {
    const std::int64_t continuous = counter_.Continuous(tick);
    if (last_ && std::abs(static_cast<double>(continuous) - static_cast<double>(*last_)) > kLargestStep) jumps_ = true;
    last_ = continuous;
    return continuous;
  }
  /// @return its tick
  std::int64_t Heartbeat(const EventLine& line) {
    latestBeat_ = {static_cast<double>(Stamp(line.tick)), *line.time};
    if (!firstBeat_) firstBeat_ = latestBeat_;
    return *last_;
  }

  double FirstHeartbeat() const { return firstBeat_->tick; }
  /// @return null when readings can be timed; of fewer than two heartbeats the scan itself complains
  const char* Complaint() const {
    if (jumps_) return "the tick count jumps";
    const bool isLong = firstBeat_ && firstBeat_->tick < latestBeat_->tick && firstBeat_->time < latestBeat_->time;
    return isLong ? nullptr : "the first and the last heartbeat do not tell how long a tick is";
  }

 private:
  struct Beat {
    double tick;
    Instant time;
  };

  TickCounter counter_;
  std::optional<std::int64_t> last_;
  std::optional<Beat> firstBeat_, latestBeat_;
  bool jumps_ = false;  // by what the scan takes for a wrap
};

/// Copies the sound lines of a file, with continuous ticks.
class Copier {
 public:
  Copier(const std::filesystem::path& copy, OrientationFile& file) : writer_(copy), file_(file) {}

  void Take(std::string_view line) {
    const std::size_t number = ++file_.lines;
    if (number == 1) line = WithoutByteOrderMark(line);
    const EventLine event = file_.byMasterClock ? ParseEventLine(line) : EventLine{};
    if (event.kind == EventKind::Heartbeat) {
      ++file_.heartbeats;
      fmt::format_to(std::back_inserter(writer_.Text()), "{},{}\n", clock.Heartbeat(event), event.code);
    } else if (event.kind == EventKind::FaultyHeartbeat) {
      file_.faultyHeartbeats.push_back(number);
    } else if (ClassifyOrientation(line) == (file_.byMasterClock ? OrientationLine::Clocked : OrientationLine::Dated)) {
      lines.push_back(number);
      AppendReading(line);
    } else if (line.find_first_not_of(" \t\r") != std::string_view::npos) {
      file_.skipped.push_back(number);
    }
    writer_.LineDone();
  }
  void Close() { writer_.Close(); }

  Clock clock;
  LineNumbers lines;  ///< of the readings

 private:
  void AppendReading(std::string_view line) {
    if (file_.byMasterClock) {
      const std::string_view tick = Tokens(line, ",")[0];
      fmt::format_to(std::back_inserter(writer_.Text()), "{}", clock.Stamp(*Integer(tick)));
      line.remove_prefix(static_cast<std::size_t>(tick.data() + tick.size() - line.data()));
    }
    (writer_.Text() += line) += '\n';
  }

  LineWriter writer_;
  OrientationFile& file_;
};

/// @return the lines of the readings, and the clock of the variant
std::pair<LineNumbers, Clock> CopyLines(const std::filesystem::path& path, const std::filesystem::path& copy,
                                        OrientationFile& file) {
  LineReader reader(path);
  Copier copier(copy, file);
  for (std::string_view line; reader.NextOfText(line);) copier.Take(line);
  copier.Close();
  return {std::move(copier.lines), copier.clock};
}

/// @param complaint  receives the library's sentence
std::vector<tagKVAosEvent> Scan(const std::filesystem::path& copy, bool byMasterClock, std::wstring& complaint) {
  return byMasterClock ? KVUtilities::ScanKVAosFileForQX7(WidePath(copy), complaint)
                       : KVUtilities::ScanKVAosFile(WidePath(copy), complaint);
}

/// Takes away times that the heartbeats do not give.
void ClearUnsoundTimes(const Clock& clock, std::vector<tagKVAosEvent>& events, Log& log) {
  const char* complaint = clock.Complaint();
  std::size_t cleared = 0;
  for (auto& event : events) {
    if (!complaint && event.MasterTick >= clock.FirstHeartbeat()) continue;
    ++cleared;
    event.TimeUTC = {};
  }
  if (complaint) {
    log.Warn("orientation: {}: readings have no time", complaint);
  } else if (cleared > 0) {
    log.Warn("orientation: {} before the first heartbeat: the time is not known", Counted(cleared, "reading"));
  }
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
  if (!file.skipped.empty())
    log.Warn("orientation: {} left out, {}: without a stamp and seven numbers", Counted(file.skipped.size(), "line"),
             Named(file.skipped));
  if (!file.faultyHeartbeats.empty())
    log.Warn("orientation: {} left out, {}: no valid date and time", Counted(file.faultyHeartbeats.size(), "heartbeat"),
             Named(file.faultyHeartbeats));
}

}  // namespace

OrientationLine ClassifyOrientation(std::string_view line) {
  const Tokens tokens(line, ",");
  for (std::size_t place = 0; place <= kDateAtMost && place + 1 < tokens.size(); ++place) {
    if (IsDated(tokens[place]))
      return AreReadings(tokens.From(place + 1)) ? OrientationLine::Dated : OrientationLine::None;
  }
  const bool isClocked = tokens.size() > kReadings && Integer(tokens[0]) && AreReadings(tokens.From(1));
  return isClocked ? OrientationLine::Clocked : OrientationLine::None;
}

OrientationFile ReadOrientationFile(const std::filesystem::path& path, const std::filesystem::path& scratch, Log& log) {
  RefuseUnlessRegular(path);
  const auto copy = scratch / "orientation";
  OrientationFile file;
  file.byMasterClock = KindOfFile(path) == FileKind::ClockedOrientation;
  auto [lines, clock] = CopyLines(path, copy, file);
  if (lines.empty()) {  // few readings among other lines do not show at the beginning
    const bool other = !file.byMasterClock;
    file = OrientationFile();
    file.byMasterClock = other;
    std::tie(lines, clock) = CopyLines(path, copy, file);
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
    ClearUnsoundTimes(clock, events, log);
  }
  AddReadings(events, lines, file, log);
  if (file.untimed > 0) log.Warn("orientation: {} without a time", Counted(file.untimed, "reading"));
  return file;
}

}  // namespace kv::mission
