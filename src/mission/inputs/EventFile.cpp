#include "mission/inputs/EventFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "georef/ClockWatch.h"
#include "georef/EventTypes.h"
#include "platform/LargePages.h"
#include "readers/EventLine.h"
#include "readers/FieldFile.h"
#include "readers/LineReader.h"
#include "text/Blanks.h"
#include "text/Tokens.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using Records = std::vector<EventRecord>;

bool IsHeartbeat(const tagKVSystemEvent& event) { return event.Type == kHeartbeat; }

Records ReadRecords(const std::filesystem::path& path, double offsetSeconds, EventFile& file, Job& job) {
  LineReader reader(path, CtrlZ::IsText, job, "reading events");
  const auto offset = std::chrono::round<FileTimeTicks>(std::chrono::duration<double>(offsetSeconds));
  LocalCalendar calendar(Calendar::Utc);
  Records records;
  for (std::string_view line; reader.Next(line);) {
    auto [kind, record] = ClassifyEvent(line, calendar);
    record.line = reader.Number();
    if (record.time) *record.time += offset;
    if (kind == EventKind::FaultyHeartbeat) file.faultyHeartbeats.push_back(record.line);
    if (kind == EventKind::Other && !WithoutBlanks(line).empty()) file.skipped.push_back(record.line);
    if (kind != EventKind::Heartbeat && kind != EventKind::CameraEvent) continue;
    MakeRoom(records, line, reader);
    records.push_back(record);
  }
  file.lines = reader.Number();
  return records;
}

/// Makes an event of each record, and times them.
void MakeEvents(const Records& records, EventFile& file) {
  const auto outages = file.heartbeatsAgree ? PlausibleOutages(records) : std::vector<bool>(records.size(), false);
  ClockWatch clock;
  ReserveInLargePages(file.events, records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    const EventRecord& record = records[i];
    const auto tick = static_cast<double>(record.tick);
    if (i > 0 && outages[i - 1]) clock.Bridge(tick);
    if (record.time) {
      file.events.push_back(HeartbeatEvent(tick, ToFileTime(*record.time)));
      clock.Heartbeat(tick, file.events.back().TimeUTC);
    } else {
      file.events.push_back(CameraEvent(tick, record.camera));
      clock.Stamp(tick);
    }
  }
  clock.SetTimes(file.events, [](auto& event) { return event.Type == kCameraEvent; });
}

void TellOfWildTicks(const char* what, const Records& wild, bool areHeartbeats, Job& job) {
  LineNumbers lines;
  for (const auto& record : wild) {
    if (record.time.has_value() == areHeartbeats) lines.push_back(record.line);
  }
  job.AddLines(Found::TicksWild, "events", lines, {{"what", lines.size() == 1 ? what : what + std::string("s")}});
}

/// Reports jumps and steps back of the tick count, except wraps.
void TellOfTickSteps(const Records& records, EventFile& file, Job& job) {
  const auto outages = PlausibleOutages(records);
  const auto tell = [&](const FindingKind& kind, auto isFault) {
    for (std::size_t i = 1; i < records.size(); ++i) {
      const double from = static_cast<double>(records[i - 1].tick), to = static_cast<double>(records[i].tick);
      if (!isFault(to - from) || (file.heartbeatsAgree && outages[i - 1])) continue;
      job.Add(kind, {{"from", from}, {"to", to}});
      return true;
    }
    return false;
  };
  file.timesDoubtful |= tell(Found::TicksJump, [](double step) { return std::abs(step) > kLargestStep; });
  tell(Found::TicksRunBack, [](double step) { return step < 0 && step >= -kLargestStep; });
}

/// The first and the last heartbeat give camera events their times; those between show whether that line is straight.
void TellOfHeartbeats(EventFile& file, Job& job) {
  std::vector<const tagKVSystemEvent*> beats;
  for (const auto& event : file.events) {
    if (IsHeartbeat(event)) beats.push_back(&event);
  }
  if (beats.size() < 2) return job.Add(Found::HeartbeatsTooFew, {{"count", Count(beats.size())}});
  const auto timeOf = [](const tagKVSystemEvent* beat) { return FromFileTime(beat->TimeUTC); };
  const double tickSpan = beats.back()->MasterTick - beats.front()->MasterTick;
  const double secondsPerTick = Seconds(timeOf(beats.back()) - timeOf(beats.front())) / tickSpan;
  file.tickLengthKnown = secondsPerTick > 0 && std::isfinite(secondsPerTick);
  if (!file.tickLengthKnown) return job.Add(Found::TickLengthUnknown);
  for (const auto* beat : beats) {
    const double expected = (beat->MasterTick - beats.front()->MasterTick) * secondsPerTick;
    file.residuals.push_back(Seconds(timeOf(beat) - timeOf(beats.front())) - expected);
  }
  if (file.heartbeatsAgree) return;
  file.timesDoubtful = true;
  const auto worst = std::max_element(file.residuals.begin(), file.residuals.end(),
                                      [](double a, double b) { return std::abs(a) < std::abs(b); });
  const auto* beat = beats[static_cast<std::size_t>(worst - file.residuals.begin())];
  if (*worst != 0) job.Add(Found::HeartbeatsDisagree, {{"time", timeOf(beat)}, {"seconds", std::abs(*worst)}});
}

void ClearTime(tagKVSystemEvent& event) {
  event.TimeUTC = {};
  event.SystemTimeUTC = {};
  event.AdjGpsSec = 0;
}

void ClearTimesBeforeHeartbeats(EventFile& file, Job& job) {
  const auto first = std::find_if(file.events.begin(), file.events.end(), IsHeartbeat);
  if (first == file.events.end()) return;
  const double firstTick = first->MasterTick;
  std::size_t early = 0;
  for (auto& event : file.events) {
    if (event.Type != kCameraEvent || event.MasterTick >= firstTick) continue;
    ++early;
    ClearTime(event);
  }
  if (early > 0) job.Add(Found::EventsBeforeHeartbeats, {{"count", Count(early)}});
}

void ClearTimesNotKnown(const Records& records, EventFile& file) {
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (!records[i].time && !(records[i].timeable && file.tickLengthKnown)) ClearTime(file.events[i]);
  }
}

}  // namespace

EventLineKind ClassifyEvent(std::string_view line, LocalCalendar& calendar) {
  std::array<std::string_view, 2> tokens;
  const auto found = Tokenise(WithoutTrailingBlanks(line), Delimiters(","), tokens);
  const auto event = ReadEventLine(found, calendar);
  if (!event) return {};
  EventRecord record;
  record.tick = event->tick;
  record.camera = event->camera;
  if (!event->heartbeat) return {EventKind::CameraEvent, record};
  const bool isSigned = tokens[1][0] == '+';  // takes the place of a digit
  if (!event->heartbeat->isValid || isSigned) return {EventKind::FaultyHeartbeat, {}};
  record.time = FromFileTime(event->heartbeat->time);
  return {EventKind::Heartbeat, record};
}

EventFile ReadEventFile(const std::filesystem::path& path, Job& job, double offsetSeconds) {
  EventFile file;
  Records records = ReadRecords(path, offsetSeconds, file, job);
  const Records wild = TakeOutWildTicks(records);
  file.wildTicks = LinesOf(wild);
  MakeContinuous(records);
  HeartbeatCheck check = TakeOutOffHeartbeats(records);
  file.offHeartbeats = std::move(check.off);
  file.heartbeatsAgree = check.agree;
  file.wraps = SettleWraps(records);
  MakeEvents(records, file);
  file.heartbeats = static_cast<std::size_t>(std::count_if(file.events.begin(), file.events.end(), IsHeartbeat));

  job.AddLines(Found::LinesLeftOut, "events", file.skipped, {{"reason", "not an event"}}, {.file = path});
  TellOfWildTicks("heartbeat", wild, true, job);
  TellOfWildTicks("camera event", wild, false, job);
  job.AddLines(Found::HeartbeatsFaulty, "events", file.faultyHeartbeats, {}, {.file = path});
  job.AddLines(Found::HeartbeatsOff, "events", file.offHeartbeats, {}, {.file = path});
  if (file.wraps > 0) job.Add(Found::CounterWraps, {{"count", Count(file.wraps)}});
  TellOfTickSteps(records, file, job);
  TellOfHeartbeats(file, job);
  const auto others = std::count_if(file.events.begin(), file.events.end(), [](auto& event) {
    return event.Type == kCameraEvent && event.CameraID != 1 && event.CameraID != 2;
  });
  if (others > 0) job.Add(Found::CamerasOther, {{"count", std::int64_t{others}}});
  ClearTimesBeforeHeartbeats(file, job);
  ClearTimesNotKnown(records, file);
  for (const auto& event : file.events) {
    if (HasTime(event)) file.span.Add(FromFileTime(event.TimeUTC));
  }
  return file;
}

std::optional<Instant> FirstHeartbeatTime(const std::vector<tagKVSystemEvent>& events) {
  const auto found = std::find_if(events.begin(), events.end(), IsHeartbeat);
  return found == events.end() ? std::nullopt : std::optional(FromFileTime(found->TimeUTC));
}

}  // namespace kv::mission
