#include <cmath>
#include <optional>
#include <span>
#include <vector>

#include "KVUtilities.h"
#include "conversions/EventTypes.h"
#include "conversions/FileTimes.h"
#include "conversions/Numbers.h"
#include "conversions/TimeConverter.h"
#include "platform/FileNames.h"
#include "scanners/FieldFile.h"
#include "scanners/MasterClock.h"

namespace {

using kv::kCameraEvent, kv::kHeartbeat;

using Tokens = std::span<const std::wstring_view>;

constexpr const wchar_t* kErrorTicksPerSecond = L"Error computing Ticks/Second from heartbeat in System Event File.";

constexpr std::int64_t kLargestCameraNumber = 10;
constexpr std::size_t kHeartbeatLength = 12;

void SetTime(tagKVSystemEvent& event, FILETIME timeUTC) {
  event.TimeUTC = timeUTC;
  event.SystemTimeUTC = kv::SystemTimeOrZero(timeUTC);
  event.AdjGpsSec = kv::AdjGpsSeconds(timeUTC);
}

std::optional<tagKVSystemEvent> ReadEvent(Tokens tokens, kv::HeartbeatReader& heartbeats) {
  if (tokens.size() < 2) return {};
  const auto tick = kv::WholeInteger(tokens[0]);
  const auto code = kv::WholeInteger(tokens[1]);
  if (!tick || !code) return {};

  tagKVSystemEvent event;
  event.MasterTick = static_cast<double>(*tick);
  if (*code <= kLargestCameraNumber) {
    event.Type = kCameraEvent;
    event.CameraID = static_cast<std::int32_t>(*code);  // keeps the low 32 bits of a number below their range
    return event;
  }
  if (tokens[1].size() != kHeartbeatLength) return {};
  event.Type = kHeartbeat;
  SetTime(event, heartbeats.Read(tokens[1]));
  return event;
}

bool IsWrap(const tagKVSystemEvent& earlier, const tagKVSystemEvent& later) {
  return std::abs(later.MasterTick - earlier.MasterTick) > kv::kWrapStep;
}

void TimeCameraEvents(std::vector<tagKVSystemEvent>& events, const kv::TickScale& scale) {
  bool pastWrap = false;
  for (std::size_t i = 0; i < events.size(); ++i) {
    pastWrap = pastWrap || (i > 0 && IsWrap(events[i - 1], events[i]));
    if (events[i].Type == kCameraEvent) SetTime(events[i], scale.TimeOf(events[i].MasterTick, pastWrap));
  }
}

}  // namespace

std::vector<tagKVSystemEvent> KVUtilities::ScanKVSystemEventFile(std::wstring path, std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  std::vector<tagKVSystemEvent> events;
  if (!kv::PathExists(path)) return events;
  kv::HeartbeatReader heartbeats;
  std::optional<std::size_t> first, last;
  bool wrapped = false;
  kv::ForEachLine<2>(path, kv::Delimiters(","), [&](Tokens tokens) {
    auto event = ReadEvent(tokens, heartbeats);
    if (!event) return;
    if (event->Type == kHeartbeat) last = events.size();
    if (!first) first = last;
    wrapped = wrapped || (!events.empty() && IsWrap(events.back(), *event));
    events.push_back(std::move(*event));
  });

  if (first != last) {
    const tagKVSystemEvent &begin = events[*first], &end = events[*last];
    TimeCameraEvents(events,
                     kv::TickScale::Between(begin.MasterTick, begin.TimeUTC, end.MasterTick, end.TimeUTC, wrapped));
  } else {
    error = kErrorTicksPerSecond;
  }
  return events;
}
