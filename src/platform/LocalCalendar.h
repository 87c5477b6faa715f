#pragma once

#include "KVPlatform.h"

namespace kv {

/// The calendar that times of files pass through.
enum class Calendar {
  Local,  ///< the machine's time zone
  Utc,    ///< stands still: no daylight saving time, the same result on every machine
};

/// Takes a calendar time through the machine's time zone: to an instant with `mktime` (daylight saving time unknown)
/// and back with `localtime`. Days beyond a month's end roll into the next month, and a time that a daylight-saving
/// change skips moves by the change, in the direction that the C library takes. Milliseconds become 0.
/// @return false when the C library refuses the time, which it does for none of the years 1971-2099; `time` is
///         untouched then
bool NormaliseInLocalCalendar(SYSTEMTIME& time);

/// Takes times that follow each other through a calendar. The system is asked once for a minute.
class LocalCalendar {
 public:
  explicit LocalCalendar(Calendar calendar = Calendar::Local) : calendar_(calendar) {}

  /// Like `NormaliseInLocalCalendar`, whatever the calendar. UTC refuses no time.
  bool Normalise(SYSTEMTIME& time);

 private:
  Calendar calendar_;
  SYSTEMTIME minute_{};
  SYSTEMTIME normalised_{};
};

}  // namespace kv
