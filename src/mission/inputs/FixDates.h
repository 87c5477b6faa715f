#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "readers/NmeaSentence.h"

/// Dates for the fixes of a receiver log, which have only times of day.
namespace kv::mission {

/// A time of day, and the day by counting midnights from the log's first fix.
struct RunningTime {
  int day = 0;
  Hundredths timeOfDay{};

  std::int64_t Count() const { return day * std::int64_t{8'640'000} + timeOfDay.count(); }  ///< hundredths of a second
};

/// The running time of what follows `last` in a log. A log that goes on within a day pauses for less than 23 hours; one
/// whose pieces are out of order goes back by less than 12.
constexpr RunningTime After(const RunningTime& last, Hundredths timeOfDay) {
  using std::chrono::hours;
  const Hundredths step = timeOfDay - last.timeOfDay;
  return {last.day + (step < -hours{12} ? 1 : step > hours{23} ? -1 : 0), timeOfDay};
}

/// A sentence that tells date and time.
struct DatedSentence {
  std::size_t fixes;  ///< before it in the log
  RunningTime time;
  Date date;

  Date DayZero() const { return date - std::chrono::days{time.day}; }
};

/// Fixes from one on, up to the next stretch.
struct Stretch {
  std::size_t firstFix;
  Date dayZero;  ///< date of running day 0
};

struct LogDates {
  std::vector<Stretch> stretches;  ///< the first begins at fix 0; empty without a dated sentence
  std::size_t outvoted = 0;        ///< sentences with another date than most of their stretch
  std::pair<Date, Date> dates;     ///< that the first of these says, and that the others say
  std::size_t uncertain = 0;       ///< fixes that could be of either of two stretches
};

/// Cuts a log where its dated sentences jump to another date: at the longest pause between the two sentences. Without a
/// pause there, both are of one stretch, and most of its sentences decide.
/// @param longestPause  between fixes, that is not a pause yet
LogDates DatesOf(const std::vector<RunningTime>& fixes, const std::vector<DatedSentence>& sentences,
                 Hundredths longestPause);

}  // namespace kv::mission
