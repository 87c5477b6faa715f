#include "readers/EventLine.h"

#include <stdexcept>

#include "georef/EventTypes.h"
#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/TimeStamps.h"

namespace kv {
namespace {

constexpr std::size_t kHeartbeatLength = 12;
// Codes up to this are camera numbers; larger ones are the text of a heartbeat.
constexpr std::int64_t kLargestCameraNumber = 10;

}  // namespace

FILETIME Heartbeat::ValidTime() const {
  if (!isValid) throw std::out_of_range("heartbeat date or time out of range");
  return time;
}

template <class Char>
std::optional<Heartbeat> ReadHeartbeat(std::basic_string_view<Char> text, LocalCalendar& calendar) {
  if (text.size() != kHeartbeatLength || WholeInteger(text).value_or(0) <= kLargestCameraNumber) return {};
  bool isValid = true;
  const auto field = [&](std::size_t begin, int offset, int lowest, int highest) {
    const int value = TwoDigits(text, begin) + offset;
    isValid = isValid && value >= lowest && value <= highest;
    return static_cast<std::uint16_t>(value);
  };
  SYSTEMTIME time{};
  time.wYear = field(10, 2000, 1970, 2099);
  time.wMonth = field(8, 0, 1, 12);
  time.wDay = field(6, 0, 1, 31);  // whatever the month
  time.wHour = field(0, 0, 0, 23);
  time.wMinute = field(2, 0, 0, 59);
  time.wSecond = field(4, 0, 0, 59);
  if (!isValid) return Heartbeat{};
  calendar.Normalise(time);  // takes every time of these years
  return Heartbeat{true, FileTimeOrZero(time)};
}
template std::optional<Heartbeat> ReadHeartbeat(std::string_view, LocalCalendar&);
template std::optional<Heartbeat> ReadHeartbeat(std::wstring_view, LocalCalendar&);

std::optional<EventLine> ReadEventLine(std::span<const std::string_view> tokens, LocalCalendar& calendar) {
  if (tokens.size() < 2) return {};
  const auto tick = WholeInteger(tokens[0]);
  const auto code = WholeInteger(tokens[1]);
  if (!tick || !code) return {};
  if (*code <= kLargestCameraNumber) return EventLine{*tick, *code, {}};
  const auto heartbeat = ReadHeartbeat(tokens[1], calendar);
  if (!heartbeat) return {};
  return EventLine{*tick, 0, heartbeat};
}

tagKVSystemEvent CameraEvent(double tick, std::int64_t camera, std::wstring_view room) {
  tagKVSystemEvent event{.Type = kCameraEvent,
                         .MasterTick = tick,
                         .CameraID = static_cast<std::int32_t>(camera),
                         .PhotoPath = {},
                         .POSQuality = std::wstring(room)};
  event.POSQuality = L"NONE";
  return event;
}

tagKVSystemEvent HeartbeatEvent(double tick, FILETIME time) {
  tagKVSystemEvent event;
  event.Type = kHeartbeat;
  event.MasterTick = tick;
  SetTime(time, event);
  return event;
}

}  // namespace kv
