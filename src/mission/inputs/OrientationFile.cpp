#include "mission/inputs/Inputs.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <utility>

#include "georef/ClockWatch.h"
#include "georef/EventRecords.h"
#include "mission/inputs/EventFile.h"
#include "mission/inputs/Readings.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "readers/OrientationLine.h"
#include "text/Blanks.h"
#include "text/Tokens.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr auto kRangeValues =
    std::to_array<double tagKVAosEvent::*>({&tagKVAosEvent::BrdTemp, &tagKVAosEvent::Pitch, &tagKVAosEvent::Roll});

/// The tokens of a line of bytes, as wide text.
class WideTokens {
 public:
  std::span<const std::wstring_view> Of(std::string_view line) {
    WidenAnsi(WithoutTrailingBlanks(line), wide_);
    return Tokenise(std::wstring_view(wide_), Delimiters(","), tokens_);
  }

 private:
  std::wstring wide_;
  std::array<std::wstring_view, kMostOrientationTokens> tokens_;
};

/// The readings of a file, and the line number of each.
struct Readings {
  std::vector<tagKVAosEvent> readings;
  LineNumbers lines;
};

void ClearTime(tagKVAosEvent& reading) {
  reading.TimeUTC = {};
  reading.SystemTimeUTC = {};
  reading.AdjGpsSec = 0;
}

bool IsHeartbeat(const EventRecord& record) { return record.time.has_value(); }

bool IsJump(const EventRecord& from, const EventRecord& to) {
  return std::abs(static_cast<double>(to.tick) - static_cast<double>(from.tick)) > kLargestStep;
}

Readings ReadDated(const std::filesystem::path& path, OrientationFile& file, Job& job) {
  LineReader reader(path, CtrlZ::EndsText, job, "reading orientation");
  Readings dated;
  WideTokens tokens;
  for (std::string_view line; reader.Next(line);) {
    if (auto reading = ReadDatedReading(tokens.Of(line))) {
      dated.readings.push_back(*reading);
      dated.lines.push_back(reader.Number());
    } else if (!WithoutBlanks(line).empty()) {
      file.skipped.push_back(reader.Number());
    }
  }
  file.lines = reader.Number();
  return dated;
}

/// @return null when readings can be timed
const char* ComplaintAbout(const std::vector<EventRecord>& records, bool heartbeatsAgree) {
  if (std::count_if(records.begin(), records.end(), IsHeartbeat) < 2) return "fewer than two heartbeats";
  if (std::adjacent_find(records.begin(), records.end(), IsJump) != records.end()) return "the tick count jumps";
  const auto first = std::find_if(records.begin(), records.end(), IsHeartbeat);
  const auto last = std::find_if(records.rbegin(), records.rend(), IsHeartbeat);
  const bool isLong = first->tick < last->tick && *first->time < *last->time;
  if (!isLong) return "the first and the last heartbeat do not tell how long a tick is";
  return heartbeatsAgree ? nullptr : "the heartbeats do not advance with the ticks";
}

/// Times the readings by the heartbeats around them, if these can be trusted.
/// @param records   of heartbeats and readings that stay
/// @param readings  one for each record of a reading
void TimeReadings(const std::vector<EventRecord>& records, bool heartbeatsAgree, std::vector<tagKVAosEvent>& readings,
                  Job& job) {
  if (const char* complaint = ComplaintAbout(records, heartbeatsAgree))
    return job.Add(Found::ReadingsWithoutClock, {{"reason", complaint}});
  ClockWatch clock;
  for (const EventRecord& record : records) {
    const auto tick = static_cast<double>(record.tick);
    record.time ? clock.Heartbeat(tick, ToFileTime(*record.time)) : clock.Stamp(tick);
  }
  clock.SetTimes(readings, [](auto&) { return true; });

  const std::int64_t firstTick = std::find_if(records.begin(), records.end(), IsHeartbeat)->tick;
  std::size_t early = 0, besideWrong = 0;
  auto reading = readings.begin();
  for (const EventRecord& record : records) {
    if (IsHeartbeat(record)) continue;
    const bool isEarly = record.tick < firstTick;
    early += isEarly;
    besideWrong += !isEarly && !record.timeable;
    if (isEarly || !record.timeable) ClearTime(*reading);
    ++reading;
  }
  if (early > 0) job.Add(Found::ReadingsBeforeHeartbeats, {{"count", Count(early)}});
  if (besideWrong > 0) job.Add(Found::ReadingsBesideWrongHeartbeats, {{"count", Count(besideWrong)}});
}

/// The records of the lines that the master clock stamped, and the readings among them.
struct Clocked {
  std::vector<EventRecord> records;
  Readings readings;
  bool heartbeatsAgree = true;

  /// Removes the readings whose records were taken out, and gives the others their continuous ticks.
  void KeepReadingsOfRecords() {
    Readings kept;
    std::size_t at = 0;
    for (const EventRecord& record : records) {
      if (IsHeartbeat(record)) continue;
      while (readings.lines[at] != record.line) ++at;
      kept.readings.push_back(readings.readings[at]);
      kept.readings.back().MasterTick = static_cast<double>(record.tick);
      kept.lines.push_back(record.line);
    }
    readings = std::move(kept);
  }
};

Clocked ReadClocked(const std::filesystem::path& path, OrientationFile& file, Job& job) {
  LineReader reader(path, CtrlZ::EndsText, job, "reading orientation");
  LocalCalendar calendar(Calendar::Utc);
  Clocked clocked;
  WideTokens tokens;
  for (std::string_view line; reader.Next(line);) {
    const ClassifiedEvent event = ClassifyEvent(line, calendar);
    if (event.kind == EventKind::Heartbeat) {
      clocked.records.push_back({reader.Number(), event.tick, 0, event.time});
    } else if (event.kind == EventKind::FaultyHeartbeat) {
      file.faultyHeartbeats.push_back(reader.Number());
    } else if (const auto reading = ReadClockedReading(tokens.Of(line), calendar); reading && !reading->heartbeat) {
      clocked.records.push_back({reader.Number(), reading->tick, 0, std::nullopt});
      clocked.readings.readings.push_back(reading->reading);
      clocked.readings.lines.push_back(reader.Number());
    } else if (!WithoutBlanks(line).empty()) {
      file.skipped.push_back(reader.Number());
    }
  }
  file.lines = reader.Number();
  file.wildTicks = LinesOf(TakeOutWildTicks(clocked.records));
  MakeContinuous(clocked.records);
  HeartbeatCheck check = TakeOutOffHeartbeats(clocked.records);
  file.offHeartbeats = std::move(check.off);
  clocked.heartbeatsAgree = check.agree;
  file.heartbeats =
      static_cast<std::size_t>(std::count_if(clocked.records.begin(), clocked.records.end(), IsHeartbeat));
  clocked.KeepReadingsOfRecords();
  return clocked;
}

void TellOfLines(const std::filesystem::path& path, const OrientationFile& file, Job& job) {
  const auto tell = [&](const FindingKind& kind, const LineNumbers& lines, const Values& more = {}) {
    job.AddLines(kind, "orientation", lines, more, {.file = path});
  };
  tell(Found::LinesLeftOut, file.skipped, {{"reason", "without a stamp and seven numbers"}});
  tell(Found::TicksWild, file.wildTicks, {{"what", file.wildTicks.size() == 1 ? "line" : "lines"}});
  tell(Found::HeartbeatsFaulty, file.faultyHeartbeats);
  tell(Found::HeartbeatsOff, file.offHeartbeats);
}

void TakeRanges(const LineNumbers& lines, OrientationFile& file, Job& job) {
  ReadingRanges ranges({{"boardTemperature", "orientation sensor temperature"}, {"pitch", "pitch"}, {"roll", "roll"}});
  for (std::size_t i = 0; i < file.readings.size(); ++i) {
    const bool isTimed = static_cast<std::int64_t>(Ticks(file.readings[i].TimeUTC)) > 0;
    if (!isTimed) ClearTime(file.readings[i]);
    const auto time = isTimed ? std::optional(FromFileTime(file.readings[i].TimeUTC)) : std::nullopt;
    if (time) file.span.Add(*time);
    file.untimed += !isTimed;
    for (std::size_t k = 0; k < kRangeValues.size(); ++k)
      ranges.Add(k, file.readings[i].*kRangeValues[k], time, lines[i]);
  }
  ranges.TellOfNotNumbers("orientation", job);
  file.ranges = ranges.Found();
}

/// @return the line numbers of the readings; empty when the file is not of this kind
LineNumbers ReadAs(bool byMasterClock, const std::filesystem::path& path, OrientationFile& file, Job& job) {
  file = OrientationFile();
  file.byMasterClock = byMasterClock;
  if (!byMasterClock) {
    auto [readings, lines] = ReadDated(path, file, job);
    file.readings = std::move(readings);
    if (!lines.empty()) TellOfLines(path, file, job);
    return lines;
  }
  auto [records, readings, heartbeatsAgree] = ReadClocked(path, file, job);
  if (readings.lines.empty()) return {};
  TellOfLines(path, file, job);
  TimeReadings(records, heartbeatsAgree, readings.readings, job);
  file.readings = std::move(readings.readings);
  return std::move(readings.lines);
}

}  // namespace

OrientationLine ClassifyOrientation(std::string_view line) {
  WideTokens wide;
  const auto tokens = wide.Of(line);
  if (ReadDatedReading(tokens)) return OrientationLine::Dated;
  LocalCalendar calendar(Calendar::Utc);
  const auto clocked = ReadClockedReading(tokens, calendar);
  return clocked && !clocked->heartbeat ? OrientationLine::Clocked : OrientationLine::None;
}

OrientationFile ReadOrientationFile(const std::filesystem::path& path, Job& job) {
  RefuseUnlessRegular(path);
  OrientationFile file;
  const bool byMasterClock = KindOfFile(path) == FileKind::ClockedOrientation;
  LineNumbers lines = ReadAs(byMasterClock, path, file, job);
  // A few readings among other lines may not show at the beginning.
  if (lines.empty()) lines = ReadAs(!byMasterClock, path, file, job);
  if (lines.empty())
    throw Failure(fmt::format("{}: no orientation reading in {}", Utf8(path), Counted(file.lines, "line")));
  TakeRanges(lines, file, job);
  if (file.untimed > 0) job.Add(Found::ReadingsWithoutTime, {{"count", Count(file.untimed)}});
  return file;
}

}  // namespace kv::mission
