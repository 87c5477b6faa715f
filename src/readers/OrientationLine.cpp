#include "readers/OrientationLine.h"

#include <algorithm>

#include "text/Blanks.h"
#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/TimeStamps.h"

namespace kv {
namespace {

using Tokens = std::span<const std::wstring_view>;
using Event = tagKVAosEvent;

constexpr std::size_t kMostTokensBeforeReadings = kMostOrientationTokens - kReadings;  // severity, device, time
constexpr double Event::*kDecimals[] = {&Event::BrdTemp, &Event::Pitch, &Event::Roll, &Event::Heading};
constexpr std::int32_t Event::*kStates[] = {&Event::CalStat, &Event::SysStat, &Event::SysError};
static_assert(std::size(kDecimals) + std::size(kStates) == kReadings);

// Every reading has to be a number; further tokens are ignored.
bool ReadReadings(Tokens tokens, Event& event) {
  if (tokens.size() < kReadings) return false;
  auto token = tokens.begin();
  for (const auto field : kDecimals) {
    const auto value = WholeDouble(Trimmed(*token++));
    if (!value) return false;
    event.*field = *value;
  }
  for (const auto field : kStates) {
    const auto value = WholeInteger32(Trimmed(*token++));
    if (!value) return false;
    event.*field = *value;
  }
  return true;
}

constexpr bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// YYYY-MM-DD at the start; the values are not checked.
bool IsDate(std::wstring_view text) {
  return text.size() >= 10 && IsDigit(text[0]) && text[4] == L'-' && text[7] == L'-';
}

// ".5" is half a second; anything after the third digit or after the digits is ignored.
std::uint16_t Milliseconds(std::wstring_view time) {
  if (Piece(time, 19, 1) != L".") return 0;
  int milliseconds = 0;
  int scale = 100;
  for (const wchar_t c : Piece(time, 20, 3)) {
    if (!IsDigit(c)) break;
    milliseconds += scale * (static_cast<int>(c) - '0');
    scale /= 10;
  }
  return static_cast<std::uint16_t>(milliseconds);
}

}  // namespace

std::optional<tagKVAosEvent> ReadDatedReading(Tokens tokens) {
  const Tokens start = tokens.first(std::min(tokens.size(), kMostTokensBeforeReadings));
  const auto date = std::find_if(start.begin(), start.end(), [](auto token) { return IsDate(Trimmed(token)); });
  Event event;
  if (date == start.end() || !ReadReadings(tokens.subspan(static_cast<std::size_t>(date - start.begin()) + 1), event)) {
    return {};
  }
  const std::wstring_view time = Trimmed(*date);
  SYSTEMTIME written = CalendarTime(time);
  written.wMilliseconds = Milliseconds(time);
  SetTime(FileTimeOrZero(written), event);
  if (Ticks(event.TimeUTC) == 0) event.SystemTimeUTC = written;  // not a calendar time: keep the fields as read
  return event;
}

std::optional<ClockedReading> ReadClockedReading(Tokens tokens, LocalCalendar& calendar) {
  // Ticks are as strict as in the system event file: a line whose tick begins with a blank is rejected.
  const auto tick = tokens.size() < 2 ? std::nullopt : WholeInteger(tokens[0]);
  if (!tick) return {};
  ClockedReading line{*tick, ReadHeartbeat(tokens[1], calendar), {}};
  if (!line.heartbeat && !ReadReadings(tokens.subspan(1), line.reading)) return {};
  line.reading.MasterTick = static_cast<double>(*tick);
  return line;
}

}  // namespace kv
