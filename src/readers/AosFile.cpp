#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "platform/FileNames.h"
#include "readers/ByteOrderMark.h"
#include "readers/FieldFile.h"
#include "readers/MasterClock.h"
#include "text/Blanks.h"
#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/TimeConverter.h"
#include "time/TimeStamps.h"

namespace {

using Tokens = std::span<const std::wstring_view>;
using Event = tagKVAosEvent;

constexpr const wchar_t* kErrorTicksPerSecond = L"Error computing Ticks/Second from heartbeat in AOS File.";

constexpr double Event::*kDecimals[] = {&Event::BrdTemp, &Event::Pitch, &Event::Roll, &Event::Heading};
constexpr std::int32_t Event::*kStates[] = {&Event::CalStat, &Event::SysStat, &Event::SysError};
constexpr std::size_t kReadings = std::size(kDecimals) + std::size(kStates);
constexpr std::size_t kMostTokensBeforeReadings = 3;  // severity, device, time
constexpr std::size_t kMostTokens = kMostTokensBeforeReadings + kReadings;

// Every reading has to be a number; more tokens are dropped.
bool ReadReadings(Tokens tokens, Event& event) {
  if (tokens.size() < kReadings) return false;
  auto token = tokens.begin();
  for (const auto field : kDecimals) {
    const auto value = kv::WholeDouble(kv::Trimmed(*token++));
    if (!value) return false;
    event.*field = *value;
  }
  for (const auto field : kStates) {
    const auto value = kv::WholeInteger32(kv::Trimmed(*token++));
    if (!value) return false;
    event.*field = *value;
  }
  return true;
}

constexpr bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// YYYY-MM-DD and more; what the digits say is not checked.
bool IsDate(std::wstring_view text) {
  return text.size() >= 10 && IsDigit(text[0]) && text[4] == L'-' && text[7] == L'-';
}

// ".5" is half a second; digits beyond the third, and what is behind the digits, are dropped.
std::uint16_t Milliseconds(std::wstring_view time) {
  if (kv::Piece(time, 19, 1) != L".") return 0;
  int milliseconds = 0;
  int scale = 100;
  for (const wchar_t c : kv::Piece(time, 20, 3)) {
    if (!IsDigit(c)) break;
    milliseconds += scale * (static_cast<int>(c) - '0');
    scale /= 10;
  }
  return static_cast<std::uint16_t>(milliseconds);
}

// Calls `read` with the tokens of every line.
template <class Read>
void ForEachAosLine(const std::wstring& path, Read read) {
  kv::ByteOrderMark mark;
  std::array<std::wstring_view, kMostTokens> tokens;
  kv::ForEachLine(path,
                  [&](std::wstring_view line) { read(kv::Tokenise(mark.Skip(line), kv::Delimiters(","), tokens)); });
}

std::optional<Event> ReadDatedLine(Tokens tokens) {
  const Tokens start = tokens.first(std::min(tokens.size(), kMostTokensBeforeReadings));
  const auto date = std::find_if(start.begin(), start.end(), [](auto token) { return IsDate(kv::Trimmed(token)); });
  Event event;
  if (date == start.end() || !ReadReadings(tokens.subspan(static_cast<std::size_t>(date - start.begin()) + 1), event)) {
    return {};
  }
  const std::wstring_view time = kv::Trimmed(*date);
  SYSTEMTIME written = kv::CalendarTime(time);
  written.wMilliseconds = Milliseconds(time);
  kv::SetTime(kv::FileTimeOrZero(written), event);
  if (kv::Ticks(event.TimeUTC) == 0) event.SystemTimeUTC = written;  // no time of the calendar: what the file says
  return event;
}

}  // namespace

std::vector<tagKVAosEvent> KVUtilities::ScanKVAosFile(std::wstring path, std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  std::vector<Event> events;
  ForEachAosLine(path, [&](Tokens tokens) {
    if (const auto event = ReadDatedLine(tokens)) events.push_back(*event);
  });
  return events;
}

std::vector<tagKVAosEvent> KVUtilities::ScanKVAosFileForQX7(std::wstring path, std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  std::vector<Event> events;
  if (!kv::PathExists(path)) return events;
  kv::HeartbeatReader heartbeats;
  kv::ClockWatch clock;
  std::size_t beforeWrap = 0;  // events
  ForEachAosLine(path, [&](Tokens tokens) {
    // Ticks are as strict as in the system event file: a blank before one costs the line, also that of a reading.
    const auto tick = tokens.size() < 2 ? std::nullopt : kv::WholeInteger(tokens[0]);
    if (!tick) return;
    Event event;
    event.MasterTick = static_cast<double>(*tick);
    if (const auto time = heartbeats.Read(tokens[1])) {
      clock.Heartbeat(event.MasterTick, *time);
    } else if (ReadReadings(tokens.subspan(1), event)) {
      const bool pastWrap = clock.Stamp(event.MasterTick);
      events.push_back(event);
      if (!pastWrap) beforeWrap = events.size();
    }
  });

  const auto scale = clock.Scale();
  if (!scale) error = kErrorTicksPerSecond;
  for (std::size_t i = 0; scale && i < events.size(); ++i) {
    kv::SetTime(scale->TimeOf(events[i].MasterTick, i >= beforeWrap), events[i]);
  }
  return events;
}
