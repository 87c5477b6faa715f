#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "KVRecords.h"
#include "readers/FieldFile.h"

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

constexpr TimeOfDay TimeOfDayAt(int hundredths) {
  const int second = hundredths / 100;
  return {second / 3600, second / 60 % 60, second % 60, hundredths % 100 * 10};
}

/// A UTC date for fixes that have only a time of day. Calendar and leap seconds are computed once.
class DayClock {
 public:
  /// @param within  any time on the date; if it is beyond the calendar, fixes get no file time
  explicit DayClock(FILETIME within);

  /// Gives a fix its time in all three forms.
  void SetTime(const TimeOfDay& time, tagKVTrajectoryObs& fix) const;

 private:
  SYSTEMTIME date_;  // at midnight
  bool isDate_;
  FILETIME midnight_{};
  double gpsMidnight_;  // adjusted GPS seconds, a whole number
};

/// Fills in place, heights and unit.
/// @param tokens  at least `kFixTokens` of the sentence, none empty; the identifier, which is first, is ignored
/// @param units   shares the units of earlier fixes
/// @throws        std::invalid_argument, std::out_of_range when a coordinate or height is not a number
void SetPlace(std::span<const std::string_view> tokens, ColumnText& units, tagKVTrajectoryObs& fix);

}  // namespace kv
