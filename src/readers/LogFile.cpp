#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "readers/FieldFile.h"
#include "text/Blanks.h"
#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/TimeConverter.h"
#include "time/TimeStamps.h"

namespace {

using Event = tagKVLogEvent;
using Tokens = std::span<const std::wstring_view>;

constexpr std::size_t kFewestTokens = 3;

// Letters of ASCII alone have two cases here, whatever the locale.
constexpr wchar_t UpperCase(wchar_t c) { return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c; }

constexpr bool IsSameLetter(wchar_t a, wchar_t b) { return UpperCase(a) == UpperCase(b); }

bool IsSameWord(std::wstring_view a, std::wstring_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), IsSameLetter);
}

void SetUpperCase(std::wstring_view text, std::wstring& upper) {
  upper.resize(text.size());
  std::transform(text.begin(), text.end(), upper.begin(), UpperCase);
}

// Every token with a blank behind it, the last one too.
void AppendWithBlanks(Tokens tokens, std::wstring& text) {
  for (const std::wstring_view token : tokens) (text += token) += L' ';
}

// What the log says of the firmware that wrote it. The first line that speaks of it decides.
class Firmware {
 public:
  void Watch(std::wstring_view line, Tokens tokens) {
    if (isKnown_) return;
    if (Mentions(line, L"FIRMWARE IS")) {
      isKnown_ = true;  // the words of old versions, whatever number follows
    } else if (Mentions(line, kVersionWords)) {
      isKnown_ = true;
      version_ = VersionIn(tokens).value_or(kFirstWithExtraColumn);
    }
  }

  // Columns between the date and the device.
  std::size_t ExtraColumns() const { return version_ >= kFirstWithExtraColumn ? 1 : 0; }

 private:
  static constexpr std::int64_t kOldest = 203;
  static constexpr std::int64_t kFirstWithExtraColumn = 206;
  static constexpr std::wstring_view kVersionWords = L"FIRMWARE VERSION";

  // Words that begin the line do not count, on purpose: the severity stands there.
  static bool Mentions(std::wstring_view line, std::wstring_view words) {
    const std::wstring_view rest = line.substr(1);
    return std::search(rest.begin(), rest.end(), words.begin(), words.end(), IsSameLetter) != rest.end();
  }

  // "a.b.c" becomes 100a + 10b + c.
  static std::optional<std::int64_t> VersionIn(Tokens tokens) {
    const auto words = std::find_if(tokens.begin(), tokens.end(),
                                    [](std::wstring_view token) { return IsSameWord(token, kVersionWords); });
    if (tokens.end() - words < 2) return {};
    std::array<std::wstring_view, 4> parts;
    const Tokens found = kv::Tokenise(words[1], kv::Delimiters("."), parts);
    if (found.size() != 3) return {};
    std::int64_t version = 0;
    for (const std::wstring_view part : found) version = 10 * version + kv::LeadingInteger(part);
    return version;
  }

  std::int64_t version_ = kOldest;
  bool isKnown_ = false;
};

// A device whose lines are kept whole. With exactly as many tokens behind the device as it has readings, the line is a
// reading line and fills their fields, decimals first.
struct Device {
  std::wstring_view prefix;
  const wchar_t* readingLine = nullptr;
  std::span<double Event::*const> decimals{};
  std::span<std::int32_t Event::*const> integers{};
};

constexpr double Event::*kControlUnitReadings[] = {&Event::CCUTemp};
constexpr double Event::*kOrientationReadings[] = {&Event::AOSBrdTemp, &Event::AOSPitch, &Event::AOSRoll,
                                                   &Event::AOSHeading};
constexpr std::int32_t Event::*kOrientationStates[] = {&Event::AOSCalStat, &Event::AOSSysStat, &Event::AOSSysError};
constexpr double Event::*kPowerReadings[] = {&Event::BatBrdTemp, &Event::BatTemp, &Event::BatVoltage,
                                             &Event::BatCurrent, &Event::BatPercent};

constexpr Device kDevices[] = {
    {L"CCU", L"CCU Event", kControlUnitReadings},
    {L"AOS", L"AOS Event", kOrientationReadings, kOrientationStates},
    {L"POWER", L"POWER Event", kPowerReadings},
    {L"UMS capacity"},
    {L"Camera 1 capacity"},
    {L"Camera 2 capacity"},
};

// A reading that is no number stays 0.
void ReadReadings(const Device& device, Tokens readings, Event& event) {
  auto reading = readings.begin();
  for (const auto field : device.decimals) event.*field = kv::WholeDouble(*reading++).value_or(0.0);
  for (const auto field : device.integers) event.*field = kv::WholeInteger32(*reading++).value_or(0);
}

// Description and readings. Of devices that are not in the table, and of a device alone, the name is all that is kept.
// `scratch` keeps its room from line to line.
void ReadDevice(Tokens deviceAndRest, const Event& earlier, std::wstring& scratch, Event& event) {
  if (deviceAndRest.empty()) return;
  const std::wstring_view name = deviceAndRest.front();
  const Tokens rest = deviceAndRest.subspan(1);
  const auto* device = std::find_if(std::begin(kDevices), std::end(kDevices), [&](const Device& row) {
    return IsSameWord(name.substr(0, row.prefix.size()), row.prefix);
  });
  if (rest.empty() || device == std::end(kDevices)) {
    event.Desc = kv::FieldText(name, earlier.Desc);
  } else if (rest.size() == device->decimals.size() + device->integers.size()) {
    event.Desc = kv::FieldText(device->readingLine, earlier.Desc);
    ReadReadings(*device, rest, event);
  } else {
    scratch.clear();
    AppendWithBlanks(deviceAndRest, scratch);
    event.Desc = kv::FieldText(scratch, earlier.Desc);
  }
}

void AppendErrorLine(Tokens tokens, Tokens deviceAndRest, std::wstring& error) {
  error += tokens[0];
  error += L":  ";
  error += tokens[1];
  error += L"  :  ";
  AppendWithBlanks(deviceAndRest, error);
  error += L'\n';
}

}  // namespace

std::vector<tagKVLogEvent> KVUtilities::ScanKVLogFile(std::wstring path, std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  std::vector<tagKVLogEvent> events;
  Firmware firmware;
  const Event none;
  std::wstring scratch;
  kv::ForEachBoundedLine(path, kv::Delimiters(","), [&](std::wstring_view line, std::span<std::wstring_view> tokens) {
    if (tokens.size() < kFewestTokens) return;
    std::transform(tokens.begin(), tokens.end(), tokens.begin(), kv::Trimmed);
    firmware.Watch(line, tokens);
    const Tokens deviceAndRest = tokens.subspan(2 + firmware.ExtraColumns());
    const Event& earlier = events.empty() ? none : events.back();
    Event event;
    SetUpperCase(tokens[0], scratch);
    event.Type = kv::FieldText(scratch, earlier.Type);
    event.SystemTimeUTC = kv::CalendarTime(tokens[1]);
    event.AdjGpsSec = kv::AdjGpsSeconds(kv::FileTimeOrZero(event.SystemTimeUTC));
    event.Source = kv::FieldText(tokens[1], earlier.Source);
    if (IsSameWord(tokens[0].substr(0, 3), L"ERR")) AppendErrorLine(tokens, deviceAndRest, error);
    ReadDevice(deviceAndRest, earlier, scratch, event);
    events.push_back(std::move(event));
  });
  return events;
}
