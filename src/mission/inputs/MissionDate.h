#pragma once

#include <optional>
#include <string>

#include "base/Log.h"
#include "readers/NmeaSentence.h"

namespace kv::mission {

/// UTC date of a trajectory's first fix and where it was taken from.
struct MissionDate {
  std::chrono::sys_days date;
  const char* source;  ///< "option", "heartbeat" or "sentence"
};

/// What may tell the date, in the order in which it is believed.
struct DateSources {
  std::optional<std::chrono::sys_days> given;  ///< by the user
  std::optional<Instant> heartbeat;            ///< the first of the event file
  std::optional<Instant> sentence;             ///< a dated sentence of the log
};

/// The date on which a time of day comes nearest to an instant: at 00:00:05 a fix of 23:59:50 is of the day before.
std::chrono::sys_days DateNearest(Instant instant, Hundredths timeOfDay);

/// Sources that contradict the one believed are warned about.
/// @return nothing when no source tells a date
std::optional<MissionDate> ChooseDate(const DateSources& sources, Hundredths firstFix, Log& log);

/// Noon of a date, well inside the day that the trajectory reader gives to fixes.
FILETIME NoonOf(std::chrono::sys_days date);

}  // namespace kv::mission
