#include <optional>
#include <span>
#include <vector>

#include "KVUtilities.h"
#include "georef/EventTypes.h"
#include "platform/FileNames.h"
#include "readers/FieldFile.h"
#include "readers/MasterClock.h"
#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/TimeConverter.h"

namespace {

using kv::kCameraEvent, kv::kHeartbeat;

using Tokens = std::span<const std::wstring_view>;

constexpr const wchar_t* kErrorTicksPerSecond = L"Error computing Ticks/Second from heartbeat in System Event File.";

std::optional<tagKVSystemEvent> ReadEvent(Tokens tokens, kv::HeartbeatReader& heartbeats) {
  if (tokens.size() < 2) return {};
  const auto tick = kv::WholeInteger(tokens[0]);
  const auto code = kv::WholeInteger(tokens[1]);
  if (!tick || !code) return {};

  tagKVSystemEvent event;
  event.MasterTick = static_cast<double>(*tick);
  if (*code <= kv::kLargestCameraNumber) {
    event.Type = kCameraEvent;
    event.CameraID = static_cast<std::int32_t>(*code);  // keeps the low 32 bits of a number below their range
    return event;
  }
  const auto time = heartbeats.Read(tokens[1]);
  if (!time) return {};
  event.Type = kHeartbeat;
  kv::SetTime(*time, event);
  return event;
}

}  // namespace

std::vector<tagKVSystemEvent> KVUtilities::ScanKVSystemEventFile(std::wstring path, std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  std::vector<tagKVSystemEvent> events;
  if (!kv::PathExists(path)) return events;
  kv::HeartbeatReader heartbeats;
  kv::ClockWatch clock;
  std::size_t beforeWrap = 0;  // events
  kv::ForEachLine<2>(path, kv::Delimiters(","), [&](Tokens tokens) {
    auto event = ReadEvent(tokens, heartbeats);
    if (!event) return;
    const bool pastWrap =
        event->Type == kHeartbeat ? clock.Heartbeat(event->MasterTick, event->TimeUTC) : clock.Stamp(event->MasterTick);
    events.push_back(std::move(*event));
    if (!pastWrap) beforeWrap = events.size();
  });

  const auto scale = clock.Scale();
  if (!scale) error = kErrorTicksPerSecond;
  for (std::size_t i = 0; scale && i < events.size(); ++i) {
    if (events[i].Type == kCameraEvent) kv::SetTime(scale->TimeOf(events[i].MasterTick, i >= beforeWrap), events[i]);
  }
  return events;
}
