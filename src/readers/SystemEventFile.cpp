#include <span>
#include <vector>

#include "KVUtilities.h"
#include "georef/ClockWatch.h"
#include "georef/EventTypes.h"
#include "platform/FileNames.h"
#include "readers/EventLine.h"
#include "readers/FieldFile.h"
#include "time/TimeConverter.h"

namespace {

constexpr const wchar_t* kErrorTicksPerSecond = L"Error computing Ticks/Second from heartbeat in System Event File.";

}  // namespace

std::vector<tagKVSystemEvent> KVUtilities::ScanKVSystemEventFile(std::wstring path, std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  std::vector<tagKVSystemEvent> events;
  if (!kv::PathExists(path)) return events;
  kv::LocalCalendar calendar;
  kv::ClockWatch clock;
  kv::ForEachLine<2>(path, kv::Delimiters(","), [&](std::span<const std::string_view> tokens) {
    const auto line = kv::ReadEventLine(tokens, calendar);
    if (!line) return;
    const auto tick = static_cast<double>(line->tick);
    if (line->heartbeat) {
      events.push_back(kv::HeartbeatEvent(tick, line->heartbeat->ValidTime()));
      clock.Heartbeat(tick, events.back().TimeUTC);
    } else {
      events.push_back(kv::CameraEvent(tick, line->camera));
      clock.Stamp(tick);
    }
  });
  if (!clock.SetTimes(events, [](const auto& event) { return event.Type == kv::kCameraEvent; })) {
    error = kErrorTicksPerSecond;
  }
  return events;
}
