#pragma once

#include <ctime>

#include "KVPlatform.h"

namespace kv {

/// The calendar that times of files pass through.
enum class Calendar {
  Local,  ///< the machine's time zone
  Utc,    ///< has no daylight saving time; gives the same result on every machine
};

/// The C library's part: `mktime`, then `localtime`. @return false when either refuses the time
bool NormaliseLocal(std::tm& time);

/// Takes a calendar time through the machine's time zone: to an instant with `mktime` (daylight saving time unknown)
/// and back with `localtime`. Days beyond a month's end roll into the next month. A time that a daylight-saving change
/// skips moves by the change, in the direction that the C library chooses. Milliseconds become 0.
/// @return false when the C library refuses the time, with `time` untouched; never in the years 1971-2099
bool NormaliseInLocalCalendar(SYSTEMTIME& time);

/// Takes consecutive times through a calendar. Asks the system once per minute of time.
class LocalCalendar {
 public:
  explicit LocalCalendar(Calendar calendar = Calendar::Local) : calendar_(calendar) {}

  /// Like `NormaliseInLocalCalendar`, but in the chosen calendar. UTC never refuses a time.
  bool Normalise(SYSTEMTIME& time);

 private:
  Calendar calendar_;
  SYSTEMTIME minute_{};
  SYSTEMTIME normalised_{};
};

}  // namespace kv
