#pragma once

#include "KVPlatform.h"

namespace kv {

/// Takes a calendar time through the machine's time zone: to an instant with `mktime` (daylight saving time unknown)
/// and back with `localtime`. Days beyond a month's end roll into the next month, and a time that a daylight-saving
/// change skips moves by the change, in the direction that the C library takes. Milliseconds become 0.
/// @return false when the C library refuses the time, which it does for none of the years 1971-2099; `time` is
///         untouched then
bool NormaliseInLocalCalendar(SYSTEMTIME& time);

/// The same for times that follow each other: the system is asked once for a minute.
class LocalCalendar {
 public:
  bool Normalise(SYSTEMTIME& time);

 private:
  SYSTEMTIME minute_{};
  SYSTEMTIME normalised_{};
};

}  // namespace kv
