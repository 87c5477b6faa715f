#pragma once

#include "KVPlatform.h"

/// Conversion between file time and calendar time with Windows' rules.
namespace kv {

/// @param time  years 1601-30827, every field in its range; the day of week is ignored
/// @return      false if the time is not a valid calendar time; `result` is then untouched
bool ToFileTime(const SYSTEMTIME& time, FILETIME& result);

/// Truncates to milliseconds and computes the day of week.
/// @return false for a file time of 2^63 ticks or more; `result` is then untouched
bool ToSystemTime(const FILETIME& time, SYSTEMTIME& result);

}  // namespace kv
