#pragma once

#include <cstdint>
#include <tuple>

#include "KVPlatform.h"
#include "time/FileTimes.h"

/// Short forms for rows of tests.
inline SYSTEMTIME Calendar(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                           int milliseconds = 0) {
  const auto field = [](int value) { return static_cast<std::uint16_t>(value); };
  return {field(year), field(month), 0, field(day), field(hour), field(minute), field(second), field(milliseconds)};
}

/// Whether all fields except the day of week are equal.
inline bool SameInstant(const SYSTEMTIME& a, const SYSTEMTIME& b) {
  const auto fields = [](const SYSTEMTIME& t) {
    return std::tie(t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds);
  };
  return fields(a) == fields(b);
}

inline FILETIME UtcTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                        int milliseconds = 0) {
  return kv::FileTimeOrZero(Calendar(year, month, day, hour, minute, second, milliseconds));
}
