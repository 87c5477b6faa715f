#include "mission/inputs/ClockedOrientation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <utility>

#include "mission/inputs/EventFile.h"
#include "mission/inputs/LineWriter.h"
#include "readers/LineReader.h"
#include "text/Blanks.h"
#include "text/Numbers.h"
#include "text/Tokens.h"

namespace kv::mission {
namespace {

bool IsHeartbeat(const EventRecord& record) { return record.time.has_value(); }

bool IsJump(const EventRecord& from, const EventRecord& to) {
  return std::abs(static_cast<double>(to.tick) - static_cast<double>(from.tick)) > kLargestStep;
}

/// @return null when readings can be timed; of fewer than two heartbeats the scan itself complains
const char* ComplaintAbout(const ClockedOrientation& clocked) {
  const auto& records = clocked.records;
  if (std::adjacent_find(records.begin(), records.end(), IsJump) != records.end()) return "the tick count jumps";
  const auto first = std::find_if(records.begin(), records.end(), IsHeartbeat);
  const auto last = std::find_if(records.rbegin(), records.rend(), IsHeartbeat);
  const bool isLong = first != records.end() && first->tick < last->tick && *first->time < *last->time;
  if (!isLong) return "the first and the last heartbeat do not tell how long a tick is";
  return clocked.heartbeatsAgree ? nullptr : "the heartbeats do not advance with the ticks";
}

}  // namespace

LineNumbers ClockedOrientation::Readings() const {
  LineNumbers lines;
  for (const auto& record : records) {
    if (!IsHeartbeat(record)) lines.push_back(record.line);
  }
  return lines;
}

ClockedOrientation ReadStamps(const std::filesystem::path& path, OrientationFile& file) {
  ClockedOrientation clocked;
  auto& records = clocked.records;
  std::array<std::string_view, 1> tick;
  LineReader reader(path, CtrlZ::EndsText);
  for (std::string_view line; reader.Next(line);) {
    if (++file.lines == 1) line = WithoutByteOrderMark(line);
    const EventLine event = ParseEventLine(line);
    if (event.kind == EventKind::Heartbeat) {
      records.push_back({file.lines, event.tick, 0, event.time});
    } else if (event.kind == EventKind::FaultyHeartbeat) {
      file.faultyHeartbeats.push_back(file.lines);
    } else if (ClassifyOrientation(line) == OrientationLine::Clocked) {
      Tokenise(line, Delimiters(","), tick);
      records.push_back({file.lines, *WholeInteger(tick[0]), 0, std::nullopt});
    } else if (!WithoutBlanks(line).empty()) {
      file.skipped.push_back(file.lines);
    }
  }
  file.wildTicks = LinesOf(TakeOutWildTicks(records));
  MakeContinuous(records);
  HeartbeatCheck check = TakeOutOffHeartbeats(records);
  file.offHeartbeats = std::move(check.off);
  clocked.heartbeatsAgree = check.agree;
  file.heartbeats = static_cast<std::size_t>(std::count_if(records.begin(), records.end(), IsHeartbeat));
  return clocked;
}

void CopyClocked(const std::filesystem::path& path, const std::filesystem::path& copy,
                 const ClockedOrientation& clocked) {
  LineReader reader(path, CtrlZ::EndsText);
  LineWriter writer(copy);
  std::size_t number = 0;
  auto record = clocked.records.begin();
  for (std::string_view line; record != clocked.records.end() && reader.Next(line);) {
    if (++number != record->line) continue;
    const std::size_t behindTick = line.find(',', line.find_first_not_of(','));
    const std::string_view rest = line.substr(std::min(behindTick, line.size()));
    fmt::format_to(std::back_inserter(writer.Text()), "{}{}\n", record->tick, WithoutBlanks(rest));
    writer.LineDone();
    ++record;
  }
  writer.Close();
}

void ClearUnsoundTimes(const ClockedOrientation& clocked, std::vector<tagKVAosEvent>& readings, Log& log) {
  const char* complaint = ComplaintAbout(clocked);
  const auto first = std::find_if(clocked.records.begin(), clocked.records.end(), IsHeartbeat);
  std::size_t early = 0, besideWrong = 0;
  auto reading = readings.begin();
  for (const auto& record : clocked.records) {
    if (IsHeartbeat(record)) continue;
    const bool isEarly = !complaint && record.tick < first->tick;
    early += isEarly;
    besideWrong += !isEarly && !record.timeable;
    if (complaint || isEarly || !record.timeable) reading->TimeUTC = {};
    ++reading;
  }
  if (complaint) return log.Warn("orientation: {}: readings have no time", complaint);
  if (early > 0)
    log.Warn("orientation: {} before the first heartbeat: the time is not known", Counted(early, "reading"));
  if (besideWrong > 0)
    log.Warn("orientation: {} next to heartbeats left out: the time is not known", Counted(besideWrong, "reading"));
}

}  // namespace kv::mission
