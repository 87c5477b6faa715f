#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "KVRecords.h"
#include "readers/FieldFile.h"
#include "time/FileTimes.h"

/// Trajectory fixes from the tokens of position sentences.
/// @see docs/formats/trajectory.md
namespace kv {

inline constexpr std::size_t kFixTokens = 12;

/// May hold any values; a time out of range gives a fix without a file time.
struct TimeOfDay {
  int hour, minute, second, milliseconds;
};

/// Reads by position two digits each, then two decimals of the second: ".45" is 450 ms, and ".5", on purpose, 50 ms.
TimeOfDay TimeOfDayIn(std::string_view token);

/// A UTC date for fixes that have only a time of day. Calendar and leap seconds are computed once.
class DayClock {
 public:
  /// @param within  any time on the date; if it is beyond the calendar, fixes get no file time
  explicit DayClock(FILETIME within);

  /// Gives a fix its time in all three forms.
  void SetTime(const TimeOfDay& time, tagKVTrajectoryObs& fix) const;
  /// @param hundredths  of a second since midnight, within the day
  void SetTime(std::uint32_t hundredths, tagKVTrajectoryObs& fix) const;

 private:
  /// Sets file time and GPS seconds.
  void SetCounts(std::int64_t seconds, std::int64_t milliseconds, tagKVTrajectoryObs& fix) const;
  static void SetNoCounts(tagKVTrajectoryObs& fix);

  SYSTEMTIME date_;  // at midnight
  bool isDate_;
  FILETIME midnight_{};
  double gpsMidnight_;  // adjusted GPS seconds, a whole number
};

inline void DayClock::SetTime(const TimeOfDay& time, tagKVTrajectoryObs& fix) const {
  const auto field = [](int value) { return static_cast<std::uint16_t>(value); };
  SYSTEMTIME& calendar = fix.SystemTimeUTC = date_;
  calendar.wHour = field(time.hour);
  calendar.wMinute = field(time.minute);
  calendar.wSecond = field(time.second);
  calendar.wMilliseconds = field(time.milliseconds);
  const bool isTimeOfDay =
      calendar.wHour < 24 && calendar.wMinute < 60 && calendar.wSecond < 60 && calendar.wMilliseconds < 1000;
  if (isTimeOfDay) {
    SetCounts((calendar.wHour * 60 + calendar.wMinute) * 60 + calendar.wSecond, calendar.wMilliseconds, fix);
  } else {
    SetNoCounts(fix);
  }
}

inline void DayClock::SetTime(std::uint32_t hundredths, tagKVTrajectoryObs& fix) const {
  const auto field = [](std::uint32_t value) { return static_cast<std::uint16_t>(value); };
  const std::uint32_t seconds = hundredths / 100, minutes = seconds / 60, hours = minutes / 60;
  SYSTEMTIME& calendar = fix.SystemTimeUTC = date_;
  calendar.wHour = field(hours);
  calendar.wMinute = field(minutes % 60);
  calendar.wSecond = field(seconds % 60);
  calendar.wMilliseconds = field(hundredths % 100 * 10);
  SetCounts(seconds, calendar.wMilliseconds, fix);
}

inline void DayClock::SetCounts(std::int64_t seconds, std::int64_t milliseconds, tagKVTrajectoryObs& fix) const {
  if (!isDate_) [[unlikely]]
    return SetNoCounts(fix);
  constexpr std::int64_t kTicksPerMillisecond = kTicksPerSecond / 1000;
  fix.TimeUTC = AddTicks(midnight_, seconds * kTicksPerSecond + milliseconds * kTicksPerMillisecond);
  // Leap seconds come at midnight, so within a day UTC and GPS seconds advance together.
  fix.AdjGpsSec = gpsMidnight_ + static_cast<double>(seconds) + static_cast<double>(milliseconds) / 1000.0;
}

inline void DayClock::SetNoCounts(tagKVTrajectoryObs& fix) {
  fix.TimeUTC = FILETIME{};
  fix.AdjGpsSec = AdjGpsSeconds(fix.TimeUTC);
}

/// Fills in place, heights and unit.
/// @param tokens  at least `kFixTokens` of the sentence, none empty; the identifier, which is first, is ignored
/// @param units   shares the units of earlier fixes
/// @throws        std::invalid_argument, std::out_of_range when a coordinate or height is not a number
void SetPlace(std::span<const std::string_view> tokens, ColumnText& units, tagKVTrajectoryObs& fix);

}  // namespace kv
