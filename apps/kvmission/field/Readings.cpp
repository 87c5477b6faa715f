#include "field/Readings.h"

#include <array>
#include <cmath>
#include <string_view>

#include "field/HousekeepingLog.h"

namespace kv::mission {
namespace {

constexpr std::array<ReadingKind, 7> kReadingKinds{{
    {"controlUnitTemperature", "control unit temperature", L"CCU Event", &tagKVLogEvent::CCUTemp},
    {"orientationSensorTemperature", "orientation sensor temperature", L"AOS Event", &tagKVLogEvent::AOSBrdTemp},
    {"batteryBoardTemperature", "battery board temperature", L"POWER Event", &tagKVLogEvent::BatBrdTemp},
    {"batteryTemperature", "battery temperature", L"POWER Event", &tagKVLogEvent::BatTemp},
    {"batteryVoltage", "battery voltage", L"POWER Event", &tagKVLogEvent::BatVoltage},
    {"batteryCurrent", "battery current", L"POWER Event", &tagKVLogEvent::BatCurrent},
    {"batteryPercent", "battery charge in percent", L"POWER Event", &tagKVLogEvent::BatPercent},
}};

}  // namespace

std::vector<ReadingRange> ReadingRanges(const std::vector<tagKVLogEvent>& events) {
  std::vector<ReadingRange> ranges;
  for (const ReadingKind& kind : kReadingKinds) {
    std::optional<ReadingRange> range;
    for (const auto& event : events) {
      const double value = event.*kind.value;
      if (std::wstring_view(event.Desc.GetString()) != kind.source || !std::isfinite(value)) continue;
      if (!range) range = ReadingRange{&kind, {value, TimeOf(event)}, {value, TimeOf(event)}};
      if (value < range->lowest.value) range->lowest = {value, TimeOf(event)};
      if (value > range->highest.value) range->highest = {value, TimeOf(event)};
    }
    if (range) ranges.push_back(*range);
  }
  return ranges;
}

}  // namespace kv::mission
