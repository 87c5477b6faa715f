#include "mission/inputs/Readings.h"

#include <algorithm>
#include <array>

#include "mission/inputs/HousekeepingLog.h"
#include "text/Blanks.h"
#include "text/Numbers.h"

namespace kv::mission {
namespace {

struct ReadingKind {
  ReadingName name;
  const wchar_t* source;  // description of the entries that carry it
  double tagKVLogEvent::*value;
  std::size_t place;  // of its field in the line, counted from the end from 0: firmware moves the beginning
};

constexpr std::array<ReadingKind, 7> kReadingKinds{{
    {{"controlUnitTemperature", "control unit temperature"}, L"CCU Event", &tagKVLogEvent::CCUTemp, 0},
    {{"orientationSensorTemperature", "orientation sensor temperature"}, L"AOS Event", &tagKVLogEvent::AOSBrdTemp, 6},
    {{"batteryBoardTemperature", "battery board temperature"}, L"POWER Event", &tagKVLogEvent::BatBrdTemp, 4},
    {{"batteryTemperature", "battery temperature"}, L"POWER Event", &tagKVLogEvent::BatTemp, 3},
    {{"batteryVoltage", "battery voltage"}, L"POWER Event", &tagKVLogEvent::BatVoltage, 2},
    {{"batteryCurrent", "battery current"}, L"POWER Event", &tagKVLogEvent::BatCurrent, 1},
    {{"batteryPercent", "battery charge in percent"}, L"POWER Event", &tagKVLogEvent::BatPercent, 0},
}};

constexpr std::string_view kFieldBlanks = " \t\v\f\r\x85\xA0";

}  // namespace

void Widen(std::optional<ReadingRange>& range, const ReadingName& name, const Extreme& reading) {
  if (!range) range = ReadingRange{&name, reading, reading};
  if (reading.value < range->lowest.value) range->lowest = reading;
  if (reading.value > range->highest.value) range->highest = reading;
}

void WarnOfUnread(const char* file, std::size_t count, std::size_t line, Log& log) {
  log.Warn("{}: {} that {} no finite number, first in line {}: left out of the minima and maxima", file,
           Counted(count, "reading"), count == 1 ? "is" : "are", line);
}

NumberFields FindNumbers(std::string_view line) {
  NumberFields numbers;
  for (std::size_t place = 0; place < numbers.size(); ++place) {
    line = line.substr(0, line.find_last_not_of(',') + 1);  // empty fields are none
    const std::size_t begin = line.find_last_of(',') + 1;
    numbers[place] = FiniteNumber(WithoutBlanks(line.substr(begin), kFieldBlanks)).has_value();
    line = line.substr(0, begin);
  }
  return numbers;
}

Readings ReadingsOf(const std::vector<tagKVLogEvent>& events, const std::vector<NumberFields>& numbers) {
  std::array<std::optional<ReadingRange>, kReadingKinds.size()> ranges;
  Readings readings;
  for (std::size_t i = 0; i < events.size(); ++i) {
    const std::wstring_view description = events[i].Desc.GetString();
    for (std::size_t k = 0; k < ranges.size(); ++k) {
      const ReadingKind& kind = kReadingKinds[k];
      if (description != kind.source) continue;
      if (numbers[i][kind.place]) {
        Widen(ranges[k], kind.name, {events[i].*kind.value, TimeOf(events[i])});
      } else {
        readings.unread.push_back(i);
      }
    }
  }
  for (const auto& range : ranges) {
    if (range) readings.ranges.push_back(*range);
  }
  return readings;
}

}  // namespace kv::mission
