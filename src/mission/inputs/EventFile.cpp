#include "mission/inputs/EventFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "georef/ClockWatch.h"
#include "georef/EventTypes.h"
#include "georef/FixQualities.h"
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
    const ClassifiedEvent event = ClassifyEvent(line, calendar);
    if (event.kind == EventKind::FaultyHeartbeat) file.faultyHeartbeats.push_back(reader.Number());
    if (event.kind == EventKind::Other && !WithoutBlanks(line).empty()) file.skipped.push_back(reader.Number());
    if (event.kind != EventKind::Heartbeat && event.kind != EventKind::CameraEvent) continue;
    MakeRoom(records, line, reader);
    EventRecord& record = records.emplace_back();
    record.line = reader.Number();
    record.tick = event.tick, record.camera = event.camera;
    if (event.time) record.time = *event.time + offset;
  }
  file.lines = reader.Number();
  return records;
}

/// Makes an event of each record, and times them.
void MakeEvents(const Records& records, const std::vector<bool>& outages, EventFile& file) {
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
      file.events.push_back(CameraEvent(tick, record.camera, kLongestQualityWord));
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
void TellOfTickSteps(const Records& records, const std::vector<bool>& outages, EventFile& file, Job& job) {
  const auto tell = [&](const FindingKind& kind, auto isFault) {
    for (std::size_t i = 1; i < records.size(); ++i) {
      const EventRecord &from = records[i - 1], &to = records[i];
      if (!isFault(StepTo(to, from)) || outages[i - 1]) continue;
      job.Add(kind, {{"from", static_cast<double>(from.tick)}, {"to", static_cast<double>(to.tick)}});
      return true;
    }
    return false;
  };
  file.timesDoubtful |= tell(Found::TicksJump, [](double step) { return std::abs(step) > kLargestStep; });
  tell(Found::TicksRunBack, [](double step) { return step < 0 && step >= -kLargestStep; });
}

/// The first and the last heartbeat give camera events their times; those between show whether that line is straight.
void TellOfHeartbeats(const Records& records, EventFile& file, Job& job) {
  std::vector<const EventRecord*> beats;
  for (const EventRecord& record : records) {
    if (record.time) beats.push_back(&record);
  }
  file.heartbeats = beats.size();
  if (beats.size() < 2) return job.Add(Found::HeartbeatsTooFew, {{"count", Count(beats.size())}});
  const auto ticksTo = [&](const EventRecord* beat) {
    return static_cast<double>(beat->tick) - static_cast<double>(beats.front()->tick);
  };
  const auto secondsTo = [&](const EventRecord* beat) { return Seconds(*beat->time - *beats.front()->time); };
  const double secondsPerTick = secondsTo(beats.back()) / ticksTo(beats.back());
  file.tickLengthKnown = secondsPerTick > 0 && std::isfinite(secondsPerTick);
  if (!file.tickLengthKnown) return job.Add(Found::TickLengthUnknown);
  file.residuals.reserve(beats.size());
  for (const auto* beat : beats) file.residuals.push_back(secondsTo(beat) - ticksTo(beat) * secondsPerTick);
  if (file.heartbeatsAgree) return;
  file.timesDoubtful = true;
  const auto worst = std::max_element(file.residuals.begin(), file.residuals.end(),
                                      [](double a, double b) { return std::abs(a) < std::abs(b); });
  const auto* beat = beats[static_cast<std::size_t>(worst - file.residuals.begin())];
  if (*worst != 0) job.Add(Found::HeartbeatsDisagree, {{"time", *beat->time}, {"seconds", std::abs(*worst)}});
}

void ClearTime(tagKVSystemEvent& event) {
  event.TimeUTC = {};
  event.SystemTimeUTC = {};
  event.AdjGpsSec = 0;
}

/// Takes back the times of camera events that the heartbeats cannot tell, in one pass: the events of a long mission
/// are larger than any cache.
void SettleTimes(const Records& records, EventFile& file, Job& job) {
  const auto first = std::find_if(file.events.begin(), file.events.end(), IsHeartbeat);
  std::size_t others = 0, early = 0;
  for (std::size_t i = 0; i < records.size(); ++i) {
    tagKVSystemEvent& event = file.events[i];
    if (event.Type == kCameraEvent) {
      const bool isEarly = first != file.events.end() && event.MasterTick < first->MasterTick;
      if (isEarly || !records[i].timeable || !file.tickLengthKnown) ClearTime(event);
      others += event.CameraID != 1 && event.CameraID != 2;
      early += isEarly;
    }
    if (HasTime(event)) file.span.Add(FromFileTime(event.TimeUTC));
  }
  if (others > 0) job.Add(Found::CamerasOther, {{"count", Count(others)}});
  if (early > 0) job.Add(Found::EventsBeforeHeartbeats, {{"count", Count(early)}});
}

}  // namespace

ClassifiedEvent ClassifyEvent(std::string_view line, LocalCalendar& calendar) {
  std::array<std::string_view, 2> tokens;
  const auto found = Tokenise(WithoutTrailingBlanks(line), Delimiters(","), tokens);
  const auto event = ReadEventLine(found, calendar);
  if (!event) return {};
  if (!event->heartbeat) return {EventKind::CameraEvent, event->tick, event->camera, {}};
  const bool isSigned = tokens[1][0] == '+';  // takes the place of a digit
  if (!event->heartbeat->isValid || isSigned) return {.kind = EventKind::FaultyHeartbeat};
  return {EventKind::Heartbeat, event->tick, event->camera, FromFileTime(event->heartbeat->time)};
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
  const bool hasSteps = HaveTickSteps(records);
  const auto outages = hasSteps && file.heartbeatsAgree ? PlausibleOutages(records) : std::vector<bool>(records.size());
  MakeEvents(records, outages, file);

  job.AddLines(Found::LinesLeftOut, "events", file.skipped, {{"reason", "not an event"}}, {.file = path});
  TellOfWildTicks("heartbeat", wild, true, job);
  TellOfWildTicks("camera event", wild, false, job);
  job.AddLines(Found::HeartbeatsFaulty, "events", file.faultyHeartbeats, {}, {.file = path});
  job.AddLines(Found::HeartbeatsOff, "events", file.offHeartbeats, {}, {.file = path});
  if (file.wraps > 0) job.Add(Found::CounterWraps, {{"count", Count(file.wraps)}});
  if (hasSteps) TellOfTickSteps(records, outages, file, job);
  TellOfHeartbeats(records, file, job);
  SettleTimes(records, file, job);
  return file;
}

std::optional<Instant> FirstHeartbeatTime(const std::vector<tagKVSystemEvent>& events) {
  const auto found = std::find_if(events.begin(), events.end(), IsHeartbeat);
  return found == events.end() ? std::nullopt : std::optional(FromFileTime(found->TimeUTC));
}

}  // namespace kv::mission
