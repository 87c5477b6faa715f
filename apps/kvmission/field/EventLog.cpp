#include "field/EventLog.h"

#include <KVUtilities.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "Progress.h"
#include "System.h"
#include "field/LineReader.h"
#include "field/LineWriter.h"
#include "field/Numbers.h"

namespace kv::mission {
namespace {

constexpr std::int64_t kTickRange = std::int64_t{1} << 32;  // of the counter
constexpr double kLargestStep = 1e9;  // ticks between lines, beyond which the event reader changes its arithmetic
constexpr std::size_t kHeartbeatLength = 12;
constexpr int kLargestCamera = 10;
constexpr double kHeartbeatTolerance = 0.5;  // seconds; heartbeats are on whole seconds

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

/// Turns the counts of a 32-bit counter into continuous ones.
class Unwrapper {
 public:
  std::int64_t Continuous(std::int64_t tick) {
    if (tick < 0 || tick >= kTickRange) return tick;
    if (IsHigh(last_) && IsLow(tick)) base_ += kTickRange;
    if (IsLow(last_) && IsHigh(tick) && base_ > 0) base_ -= kTickRange;  // a line from before the wrap, written late
    wraps_ = std::max(wraps_, base_ / kTickRange);
    last_ = tick;
    return tick + base_;
  }
  std::size_t Wraps() const { return static_cast<std::size_t>(wraps_); }

 private:
  static bool IsLow(std::int64_t tick) { return tick < kTickRange / 4; }
  static bool IsHigh(std::int64_t tick) { return tick >= kTickRange / 4 * 3; }

  std::int64_t last_ = kTickRange / 2;
  std::int64_t base_ = 0;
  std::int64_t wraps_ = 0;
};

void CopyEvents(const std::filesystem::path& path, const std::filesystem::path& copy, const Log& messages,
                EventLog& log) {
  LineReader reader(path);
  LineWriter writer(copy);
  Unwrapper ticks;
  Progress progress(messages.ShowsProgress(), "reading events", "lines");
  for (std::string_view line; reader.Next(line); progress.Step(reader.BytesRead(), reader.FileSize())) {
    ++log.lines;
    const EventLine event = ParseEventLine(line);
    if (event.kind == EventKind::FaultyHeartbeat) log.faultyHeartbeats.push_back(log.lines);
    if (event.kind == EventKind::Other) ++log.skipped;
    if (event.kind == EventKind::Heartbeat) ++log.heartbeats;
    if (event.kind == EventKind::FaultyHeartbeat || event.kind == EventKind::Other) continue;
    fmt::format_to(std::back_inserter(writer.Text()), "{},{}\n", ticks.Continuous(event.tick), event.code);
    writer.LineDone();
  }
  writer.Close();
  log.wraps = ticks.Wraps();
}

void WarnOfFaultyHeartbeats(const EventLog& log, Log& messages) {
  constexpr std::size_t kNamed = 5;
  const auto& lines = log.faultyHeartbeats;
  if (lines.empty()) return;
  std::vector<std::size_t> named(lines.begin(), lines.size() > kNamed ? lines.begin() + kNamed : lines.end());
  messages.Warn("{} left out: no valid date and time, line {}{}", Counted(lines.size(), "heartbeat"),
                fmt::join(named, ", "), lines.size() > kNamed ? ", ..." : "");
}

/// Jumps and steps back of the tick count, wraps apart.
void WarnOfTickSteps(const EventLog& log, Log& messages) {
  const auto& events = log.events;
  const auto warn = [&](const char* what, const char* effect, auto isFault) {
    const auto count = [&](auto& a, auto& b) { return isFault(b.MasterTick - a.MasterTick); };
    const auto first = std::adjacent_find(events.begin(), events.end(), count);
    if (first == events.end()) return;
    messages.Warn("the tick count {}, first from {:.0f} to {:.0f}: {}", what, first->MasterTick,
                  std::next(first)->MasterTick, effect);
  };
  warn("jumps", "the times of all camera events are doubtful",
       [](double step) { return std::abs(step) > kLargestStep; });
  warn("runs backwards", "events are out of order, or the counter restarted",
       [](double step) { return step < 0 && step >= -kLargestStep; });
}

/// The camera events' times rest on the first and the last heartbeat; those between tell whether that line is straight.
void WarnOfHeartbeats(const EventLog& log, Log& messages) {
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
    return;
  }
  double largest = 0;
  const tagKVSystemEvent* worst = nullptr;
  for (const auto* beat : beats) {
    const double expected = (beat->MasterTick - beats.front()->MasterTick) * secondsPerTick;
    const double deviation = std::abs(Seconds(timeOf(beat) - timeOf(beats.front())) - expected);
    if (deviation > largest) largest = deviation, worst = beat;
  }
  if (largest > kHeartbeatTolerance)
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

void ClearTimesBeforeHeartbeats(EventLog& log, Log& messages) {
  const tagKVSystemEvent* heartbeat = FirstHeartbeat(log.events);
  if (!heartbeat) return;
  const double firstTick = heartbeat->MasterTick;
  std::size_t early = 0;
  for (auto& event : log.events) {
    if (event.Type != kCameraEvent || event.MasterTick >= firstTick) continue;
    ++early;
    event.TimeUTC = {};
    event.SystemTimeUTC = {};
    event.AdjGpsSec = 0;
  }
  if (early > 0) messages.Warn("{} before the first heartbeat: the time is not known", Counted(early, "camera event"));
}

}  // namespace

EventLine ParseEventLine(std::string_view line) {
  EventLine event;
  const auto tick = Integer(TakeToken(line));
  event.code = TakeToken(line);
  const auto code = Integer(event.code);
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
  const auto copy = scratch / "events";
  CopyEvents(path, copy, log, result);
  std::wstring error;  // its one sentence, too few heartbeats, is a warning below
  result.events = KVUtilities::ScanKVSystemEventFile(WidePath(copy), error);
  WarnOfFaultyHeartbeats(result, log);
  if (result.wraps > 0)
    log.Warn("the tick counter wraps {}; events are timed across it", Counted(result.wraps, "time"));
  WarnOfTickSteps(result, log);
  WarnOfHeartbeats(result, log);
  WarnOfCameras(result, log);
  ClearTimesBeforeHeartbeats(result, log);
  return result;
}

const tagKVSystemEvent* FirstHeartbeat(const std::vector<tagKVSystemEvent>& events) {
  const auto found = std::find_if(events.begin(), events.end(), [](auto& event) { return event.Type == kHeartbeat; });
  return found == events.end() ? nullptr : &*found;
}

bool HasTime(const tagKVSystemEvent& event) { return KVUtilities::FiletimeToInt64(event.TimeUTC) > 0; }

double TickInFile(double continuousTick, const EventLog& log) {
  return log.wraps > 0 ? std::fmod(continuousTick, static_cast<double>(kTickRange)) : continuousTick;
}

}  // namespace kv::mission
