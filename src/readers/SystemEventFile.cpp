#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "georef/ClockWatch.h"
#include "georef/EventTypes.h"
#include "platform/FileNames.h"
#include "platform/TextStream.h"
#include "readers/EventLine.h"
#include "text/Tokens.h"

namespace {

constexpr const wchar_t* kErrorTicksPerSecond = L"Error computing Ticks/Second from heartbeat in System Event File.";

}  // namespace

std::vector<tagKVSystemEvent> KVUtilities::ScanKVSystemEventFile(std::wstring path, std::wstring& error) {
  error.clear();
  std::vector<tagKVSystemEvent> events;
  if (!kv::PathExists(path)) return events;
  kv::LocalCalendar calendar;
  kv::ClockWatch clock;
  std::array<std::string_view, 2> tokens;
  kv::TextStream file(path);
  for (std::string_view text; file.ReadLine(text);) {
    const auto line = kv::ReadEventLine(kv::Tokenise(text, kv::Delimiters(","), tokens), calendar);
    if (!line) continue;
    const auto tick = static_cast<double>(line->tick);
    if (line->heartbeat) {
      events.push_back(kv::HeartbeatEvent(tick, line->heartbeat->ValidTime()));
      clock.Heartbeat(tick, events.back().TimeUTC);
    } else {
      events.push_back(kv::CameraEvent(tick, line->camera));
      clock.Stamp(tick);
    }
  }
  if (!clock.SetTimes(events, [](const auto& event) { return event.Type == kv::kCameraEvent; })) {
    error = kErrorTicksPerSecond;
  }
  return events;
}
