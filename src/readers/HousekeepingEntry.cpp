#include "readers/HousekeepingEntry.h"

#include <algorithm>
#include <iterator>

#include "text/Blanks.h"
#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/TimeStamps.h"

namespace kv {
namespace {

using Event = tagKVLogEvent;
using Tokens = std::span<const std::wstring_view>;

constexpr std::size_t kFewestTokens = 3;

// Only ASCII letters change case, in every locale.
constexpr wchar_t UpperCase(wchar_t c) { return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c; }

constexpr bool IsSameLetter(wchar_t a, wchar_t b) { return UpperCase(a) == UpperCase(b); }

bool IsSameWord(std::wstring_view a, std::wstring_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), IsSameLetter);
}

void SetUpperCase(std::wstring_view text, std::wstring& upper) {
  upper.resize(text.size());
  std::transform(text.begin(), text.end(), upper.begin(), UpperCase);
}

// Appends a blank after each token, including the last.
void AppendWithBlanks(Tokens tokens, std::wstring& text) {
  for (const std::wstring_view token : tokens) (text += token) += L' ';
}

constexpr std::int64_t kOldestFirmware = 203;
constexpr std::int64_t kFirmwareWithExtraColumn = 206;
constexpr std::wstring_view kVersionWords = L"FIRMWARE VERSION";

// Words at the very start of the line do not count, on purpose: the severity is there.
bool Mentions(std::wstring_view line, std::wstring_view words) {
  const std::wstring_view rest = line.substr(1);
  return std::search(rest.begin(), rest.end(), words.begin(), words.end(), IsSameLetter) != rest.end();
}

// "a.b.c" becomes 100a + 10b + c.
std::optional<std::int64_t> VersionIn(Tokens tokens) {
  const auto words = std::find_if(tokens.begin(), tokens.end(),
                                  [](std::wstring_view token) { return IsSameWord(token, kVersionWords); });
  if (tokens.end() - words < 2) return {};
  std::array<std::wstring_view, 4> parts;
  const Tokens found = Tokenise(words[1], Delimiters("."), parts);
  if (found.size() != 3) return {};
  std::int64_t version = 0;
  for (const std::wstring_view part : found) version = 10 * version + LeadingInteger(part);
  return version;
}

constexpr double Event::*kControlUnitReadings[] = {&Event::CCUTemp};
constexpr double Event::*kOrientationReadings[] = {&Event::AOSBrdTemp, &Event::AOSPitch, &Event::AOSRoll,
                                                   &Event::AOSHeading};
constexpr std::int32_t Event::*kOrientationStates[] = {&Event::AOSCalStat, &Event::AOSSysStat, &Event::AOSSysError};
constexpr double Event::*kPowerReadings[] = {&Event::BatBrdTemp, &Event::BatTemp, &Event::BatVoltage,
                                             &Event::BatCurrent, &Event::BatPercent};

constexpr HousekeepingDevice kDeviceTable[] = {
    {L"CCU", L"CCU Event", kControlUnitReadings},
    {L"AOS", L"AOS Event", kOrientationReadings, kOrientationStates},
    {L"POWER", L"POWER Event", kPowerReadings},
    {L"UMS capacity"},
    {L"Camera 1 capacity"},
    {L"Camera 2 capacity"},
};

void ReadReadings(const HousekeepingDevice& device, Tokens readings, HousekeepingEntry& entry) {
  std::size_t place = 0;
  const auto read = [&](const auto& value, auto& field) {
    entry.numbers[place++] = value.has_value();
    field = value.value_or(0);
  };
  for (const auto field : device.decimals) read(WholeDouble(readings[place]), entry.event.*field);
  for (const auto field : device.integers) read(WholeInteger32(readings[place]), entry.event.*field);
  entry.device = &device;
}

void AppendErrorLine(Tokens tokens, Tokens deviceAndRest, std::wstring& text) {
  text += tokens[0];
  text += L":  ";
  text += tokens[1];
  text += L"  :  ";
  AppendWithBlanks(deviceAndRest, text);
  text += L'\n';
}

}  // namespace

HousekeepingReader::HousekeepingReader() {
  static_assert(std::size(kDeviceTable) == kDevices);
  for (std::size_t i = 0; i < kDevices; ++i) readingLines_[i] = kDeviceTable[i].readingLine;
}

// The first line that mentions the firmware decides.
void HousekeepingReader::WatchFirmware(Tokens tokens) {
  if (firmware_) return;
  if (Mentions(line_, L"FIRMWARE IS")) {
    firmware_ = kOldestFirmware;  // the words of old versions, whatever number follows
  } else if (Mentions(line_, kVersionWords)) {
    firmware_ = VersionIn(tokens).value_or(kFirmwareWithExtraColumn);
  }
}

std::optional<HousekeepingEntry> HousekeepingReader::Read(std::string_view line) {
  std::optional<HousekeepingEntry> entry;
  line_.resize(line.size());
  std::transform(line.begin(), line.end(), line_.begin(),
                 [](char byte) { return wchar_t{static_cast<unsigned char>(byte)}; });
  const std::span<std::wstring_view> tokens = Tokenise(std::wstring_view(line_), Delimiters(","), tokens_);
  if (tokens.size() < kFewestTokens) return entry;
  std::transform(tokens.begin(), tokens.end(), tokens.begin(), Trimmed);
  WatchFirmware(tokens);
  const bool hasExtraColumn = firmware_.value_or(kOldestFirmware) >= kFirmwareWithExtraColumn;
  const Tokens deviceAndRest = tokens.subspan(hasExtraColumn ? 3 : 2);
  Event& event = entry.emplace().event;
  SetUpperCase(tokens[0], scratch_);
  event.Type = type_ = FieldText(scratch_, type_);
  event.SystemTimeUTC = CalendarTime(tokens[1]);
  event.AdjGpsSec = AdjGpsSeconds(FileTimeOrZero(event.SystemTimeUTC));
  event.Source = source_ = FieldText(tokens[1], source_);
  if (IsSameWord(tokens[0].substr(0, 3), L"ERR")) AppendErrorLine(tokens, deviceAndRest, entry->errorLine);
  ReadDevice(deviceAndRest, *entry);
  return entry;
}

// Reads description and readings. If the device is not in the table or nothing follows it, only its name is kept.
void HousekeepingReader::ReadDevice(Tokens deviceAndRest, HousekeepingEntry& entry) {
  if (deviceAndRest.empty()) return;
  const std::wstring_view name = deviceAndRest.front();
  const Tokens rest = deviceAndRest.subspan(1);
  const auto* device = std::find_if(
      std::begin(kDeviceTable), std::end(kDeviceTable),
      [&](const HousekeepingDevice& row) { return IsSameWord(name.substr(0, row.prefix.size()), row.prefix); });
  if (rest.empty() || device == std::end(kDeviceTable)) {
    entry.event.Desc = description_ = FieldText(name, description_);
  } else if (rest.size() == device->decimals.size() + device->integers.size()) {
    entry.event.Desc = readingLines_[static_cast<std::size_t>(device - std::begin(kDeviceTable))];
    ReadReadings(*device, rest, entry);
  } else {
    scratch_.clear();
    AppendWithBlanks(deviceAndRest, scratch_);
    entry.event.Desc = description_ = FieldText(scratch_, description_);
  }
}

}  // namespace kv
