#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "KVRecords.h"
#include "readers/FieldFile.h"

/// A fix of a trajectory from the tokens of a position sentence.
/// @see docs/formats/trajectory.md
namespace kv {

inline constexpr std::size_t kFixTokens = 12;

/// Any values; those beyond their ranges give a fix without a file time.
struct TimeOfDay {
  int hour, minute, second, milliseconds;
};

/// By position: two digits each, and two decimals of the second: ".45" is 450 ms, and ".5", odd as it is, 50.
TimeOfDay TimeOfDayIn(std::string_view token);

constexpr TimeOfDay TimeOfDayAt(int hundredths) {
  const int second = hundredths / 100;
  return {second / 3600, second / 60 % 60, second % 60, hundredths % 100 * 10};
}

/// A UTC date, for fixes that have only a time of day. Calendar and leap seconds are asked once.
class DayClock {
 public:
  /// @param within  any time of the date; beyond the calendar, fixes get no file time
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
/// @param tokens  of the sentence, `kFixTokens` at least and none of them empty; the first, its identifier, is not
///                looked at
/// @param units   those of the fixes before, shared
/// @throws        std::invalid_argument, std::out_of_range when a coordinate or height is not a number
void SetPlace(std::span<const std::string_view> tokens, ColumnText& units, tagKVTrajectoryObs& fix);

}  // namespace kv
