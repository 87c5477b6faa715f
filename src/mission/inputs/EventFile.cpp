#include "mission/inputs/EventFile.h"

#include <KVUtilities.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "base/Failure.h"
#include "base/Progress.h"
#include "mission/inputs/LineWriter.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "text/Blanks.h"
#include "text/Numbers.h"

namespace kv::mission {
namespace {

constexpr double kTickRange = 4294967296;          // of the counter
constexpr std::int64_t kFillerStep = 500'000'000;  // ticks between the lines that bridge an outage
constexpr double kMostFillers = 1e6;               // in one outage
constexpr std::size_t kHeartbeatLength = 12;
constexpr int kLargestCamera = 10;

/// Takes the next token off the text; empty fields are no tokens.
std::string_view TakeToken(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(','), text.size()));
  const std::string_view token = text.substr(0, text.find(','));
  text.remove_prefix(token.size());
  return token;
}

std::optional<Instant> HeartbeatTime(std::string_view code) {
  std::array<int, 6> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    const auto value = Digits(code.substr(2 * i, 2));
    if (!value) return std::nullopt;
    pairs[i] = *value;
  }
  const auto [hour, minute, second, day, month, year] = pairs;
  const auto firstOfMonth = FromFields(2000 + year, month, 1, hour, minute, second);
  if (!firstOfMonth || day < 1 || day > 31) return std::nullopt;
  return *firstOfMonth + std::chrono::days{day - 1};
}

std::vector<EventRecord> ReadRecords(const std::filesystem::path& path, const Log& messages, EventLog& log) {
  LineReader reader(path, CtrlZ::IsText);
  std::vector<EventRecord> records;
  Progress progress(messages.ShowsProgress(), "reading events", "lines");
  for (std::string_view line; reader.Next(line); progress.Step(reader.BytesRead(), reader.FileSize())) {
    if (++log.lines == 1) line = WithoutByteOrderMark(line);
    const EventLine event = ParseEventLine(line);
    if (event.kind == EventKind::FaultyHeartbeat) log.faultyHeartbeats.push_back(log.lines);
    if (event.kind == EventKind::Other && !event.isBlank) log.skipped.push_back(log.lines);
    if (event.kind == EventKind::Heartbeat) records.push_back({log.lines, event.tick, 0, event.time});
    if (event.kind == EventKind::CameraEvent)
      records.push_back({log.lines, event.tick, *WholeInteger(event.code), std::nullopt});
  }
  return records;
}

void AppendRecord(const EventRecord& record, std::string& text) {
  if (record.time) {
    const SYSTEMTIME time = ToSystemTime(*record.time);
    fmt::format_to(std::back_inserter(text), "{},{:02}{:02}{:02}{:02}{:02}{:02}\n", record.tick, time.wHour,
                   time.wMinute, time.wSecond, time.wDay, time.wMonth, time.wYear % 100);
  } else {
    fmt::format_to(std::back_inserter(text), "{},{}\n", record.tick, record.camera);
  }
}

/// Camera lines across an outage, so that no step is taken for a wrap of the counter.
/// @return the number of lines
std::size_t AppendFillers(std::int64_t from, std::int64_t to, std::string& text) {
  std::size_t count = 0;
  if (static_cast<double>(to) - static_cast<double>(from) > kMostFillers * static_cast<double>(kFillerStep)) return 0;
  for (std::int64_t tick = from + kFillerStep; tick < to; tick += kFillerStep, ++count)
    fmt::format_to(std::back_inserter(text), "{},1\n", tick);
  return count;
}

/// Has the event reader read the records and gives them back one to one.
std::vector<tagKVSystemEvent> Scan(const std::vector<EventRecord>& records, bool heartbeatsAgree,
                                   const std::filesystem::path& copy) {
  LineWriter writer(copy);
  const std::vector<bool> outages =
      heartbeatsAgree ? PlausibleOutages(records) : std::vector<bool>(records.size(), false);
  std::vector<bool> isRecord;
  for (std::size_t i = 0; i < records.size(); ++i) {
    AppendRecord(records[i], writer.Text());
    isRecord.push_back(true);
    if (outages[i])
      isRecord.resize(isRecord.size() + AppendFillers(records[i].tick, records[i + 1].tick, writer.Text()), false);
    writer.LineDone();
  }
  writer.Close();
  std::wstring error;  // its one sentence, too few heartbeats, is a warning below
  auto events = KVUtilities::ScanKVSystemEventFile(WidePath(copy), error);
  if (events.size() != isRecord.size()) throw Failure(Utf8(copy) + ": the events could not be read back");
  std::size_t kept = 0;
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (isRecord[i] && kept++ != i) events[kept - 1] = std::move(events[i]);
  }
  events.resize(kept);
  return events;
}

void WarnOfLines(const char* noun, const char* fault, const LineNumbers& lines, Log& messages) {
  if (!lines.empty()) messages.Warn("{} left out: {}, {}", Counted(lines.size(), noun), fault, Named(lines));
}

void WarnOfWildTicks(std::vector<EventRecord> wild, Log& messages) {
  const auto isHeartbeat = [](auto& record) { return record.time.has_value(); };
  const auto cameraEvents = std::stable_partition(wild.begin(), wild.end(), isHeartbeat);
  WarnOfLines("heartbeat", kWildTick, LinesOf({wild.begin(), cameraEvents}), messages);
  WarnOfLines("camera event", kWildTick, LinesOf({cameraEvents, wild.end()}), messages);
}

/// Jumps and steps back of the tick count, wraps apart.
void WarnOfTickSteps(bool heartbeatsAgree, const std::vector<EventRecord>& records, EventLog& log, Log& messages) {
  const auto outages = PlausibleOutages(records);
  const auto warn = [&](const char* what, const char* effect, auto isFault) {
    for (std::size_t i = 1; i < records.size(); ++i) {
      const double from = static_cast<double>(records[i - 1].tick), to = static_cast<double>(records[i].tick);
      if (!isFault(to - from) || (heartbeatsAgree && outages[i - 1])) continue;
      messages.Warn("the tick count {}, first from {:.0f} to {:.0f}: {}", what, from, to, effect);
      return true;
    }
    return false;
  };
  log.timesDoubtful |= warn("jumps", "the times of all camera events are doubtful",
                            [](double step) { return std::abs(step) > kLargestStep; });
  warn("runs backwards", "events are out of order, or the counter restarted",
       [](double step) { return step < 0 && step >= -kLargestStep; });
}

/// The camera events' times rest on the first and the last heartbeat; those between tell whether that line is straight.
void WarnOfHeartbeats(EventLog& log, Log& messages) {
  std::vector<const tagKVSystemEvent*> beats;
  for (const auto& event : log.events) {
    if (event.Type == kHeartbeat) beats.push_back(&event);
  }
  if (beats.size() < 2) {
    messages.Warn("{}: without two of them camera events have no time", Counted(beats.size(), "heartbeat"));
    return;
  }
  const auto timeOf = [](const tagKVSystemEvent* beat) { return FromFileTime(beat->TimeUTC); };
  const double tickSpan = beats.back()->MasterTick - beats.front()->MasterTick;
  const double secondsPerTick = Seconds(timeOf(beats.back()) - timeOf(beats.front())) / tickSpan;
  if (!(secondsPerTick > 0) || !std::isfinite(secondsPerTick)) {
    messages.Warn("the first and the last heartbeat do not tell how long a tick is: camera events have no time");
    log.tickLengthKnown = false;
    return;
  }
  double largest = 0;
  const tagKVSystemEvent* worst = nullptr;
  for (const auto* beat : beats) {
    const double expected = (beat->MasterTick - beats.front()->MasterTick) * secondsPerTick;
    const double deviation = std::abs(Seconds(timeOf(beat) - timeOf(beats.front())) - expected);
    if (deviation > largest) largest = deviation, worst = beat;
  }
  if (log.heartbeatsAgree) return;
  log.timesDoubtful = true;
  if (worst)
    messages.Warn("the heartbeats do not advance with the ticks: that of {} is {:.1f} s off; camera times are doubtful",
                  TimeText(timeOf(worst)), largest);
}

void WarnOfCameras(const EventLog& log, Log& messages) {
  const auto isOther = [](auto& event) {
    return event.Type == kCameraEvent && event.CameraID != 1 && event.CameraID != 2;
  };
  const auto others = std::count_if(log.events.begin(), log.events.end(), isOther);
  if (others > 0)
    messages.Warn("{} of other cameras than 1 and 2: taken for camera 2",
                  Counted(static_cast<std::size_t>(others), "event"));
}

void ClearTime(tagKVSystemEvent& event) {
  event.TimeUTC = {};
  event.SystemTimeUTC = {};
  event.AdjGpsSec = 0;
}

void ClearTimesBeforeHeartbeats(EventLog& log, Log& messages) {
  const tagKVSystemEvent* heartbeat = FirstHeartbeat(log.events);
  if (!heartbeat) return;
  const double firstTick = heartbeat->MasterTick;
  std::size_t early = 0;
  for (auto& event : log.events) {
    if (event.Type != kCameraEvent || event.MasterTick >= firstTick) continue;
    ++early;
    ClearTime(event);
  }
  if (early > 0) messages.Warn("{} before the first heartbeat: the time is not known", Counted(early, "camera event"));
}

void ClearTimesNotKnown(const std::vector<EventRecord>& records, EventLog& log) {
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (!records[i].time && !(records[i].timeable && log.tickLengthKnown)) ClearTime(log.events[i]);
  }
}

}  // namespace

EventLine ParseEventLine(std::string_view line) {
  EventLine event;
  line = WithoutTrailingBlanks(line);
  event.isBlank = line.empty();
  const auto tick = WholeInteger(TakeToken(line));
  event.code = TakeToken(line);
  const auto code = WholeInteger(event.code);
  if (!tick || !code) return event;
  event.tick = *tick;
  if (*code <= kLargestCamera) {
    event.kind = EventKind::CameraEvent;
  } else if (event.code.size() == kHeartbeatLength) {
    event.time = HeartbeatTime(event.code);
    event.kind = event.time ? EventKind::Heartbeat : EventKind::FaultyHeartbeat;
  }
  return event;
}

EventLog ReadEvents(const std::filesystem::path& path, const std::filesystem::path& scratch, Log& log) {
  EventLog result;
  auto records = ReadRecords(path, log, result);
  const auto wild = TakeOutWildTicks(records);
  result.wildTicks = LinesOf(wild);
  MakeContinuous(records);
  HeartbeatCheck check = TakeOutOffHeartbeats(records);
  result.offHeartbeats = std::move(check.off);
  result.heartbeatsAgree = check.agree;
  result.wraps = SettleWraps(records);
  result.events = Scan(records, check.agree, scratch / "events");
  result.heartbeats = static_cast<std::size_t>(
      std::count_if(records.begin(), records.end(), [](auto& record) { return record.time.has_value(); }));
  WarnOfLines("line", "no event", result.skipped, log);
  WarnOfLines("heartbeat", "no valid date and time", result.faultyHeartbeats, log);
  WarnOfWildTicks(wild, log);
  WarnOfLines("heartbeat", kOffHeartbeat, result.offHeartbeats, log);
  if (result.wraps > 0)
    log.Warn("the tick counter wraps {}; events are timed across it", Counted(result.wraps, "time"));
  WarnOfTickSteps(check.agree, records, result, log);
  WarnOfHeartbeats(result, log);
  WarnOfCameras(result, log);
  ClearTimesBeforeHeartbeats(result, log);
  ClearTimesNotKnown(records, result);
  return result;
}

const tagKVSystemEvent* FirstHeartbeat(const std::vector<tagKVSystemEvent>& events) {
  const auto found = std::find_if(events.begin(), events.end(), [](auto& event) { return event.Type == kHeartbeat; });
  return found == events.end() ? nullptr : &*found;
}

bool HasTime(const tagKVSystemEvent& event) { return KVUtilities::FiletimeToInt64(event.TimeUTC) > 0; }

double TickInFile(double continuousTick, const EventLog& log) {
  return log.wraps > 0 ? std::fmod(continuousTick, kTickRange) : continuousTick;
}

}  // namespace kv::mission
