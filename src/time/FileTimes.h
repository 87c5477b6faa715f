#pragma once

#include "KVPlatform.h"

#include <cstdint>

/// Arithmetic on file times.
namespace kv {

inline constexpr std::int64_t kTicksPerSecond = 10'000'000;

/// seconds / 0.0000001 truncated toward zero, as 64 bits. From 2^63 to below 2^64 the unsigned value wraps into the
/// sign; beyond that range, and for NaN, the result is 0x8000000000000000.
std::int64_t SecondsToTicks(double seconds);

constexpr std::uint64_t Ticks(const FILETIME& time) {
  return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

constexpr FILETIME FileTimeFromTicks(std::uint64_t ticks) {
  return {static_cast<std::uint32_t>(ticks), static_cast<std::uint32_t>(ticks >> 32)};
}

/// 64-bit sum, which wraps.
constexpr FILETIME AddTicks(const FILETIME& time, std::int64_t ticks) {
  return FileTimeFromTicks(Ticks(time) + static_cast<std::uint64_t>(ticks));
}

/// Magnitude of the difference of two unsigned tick counts, in seconds.
constexpr double SecondsBetween(const FILETIME& a, const FILETIME& b) {
  const std::uint64_t first = Ticks(a), second = Ticks(b);
  return static_cast<double>(first > second ? first - second : second - first) / kTicksPerSecond;
}

/// Conversions between calendar time and file time that give zero for an invalid time.
FILETIME FileTimeOrZero(const SYSTEMTIME& time);
SYSTEMTIME SystemTimeOrZero(const FILETIME& time);

/// Adjusted GPS seconds of a UTC file time.
double AdjGpsSeconds(const FILETIME& timeUTC);

/// Sets a record's UTC time in all three forms.
template <class Record>
void SetTime(FILETIME timeUTC, Record& record) {
  record.TimeUTC = timeUTC;
  record.SystemTimeUTC = SystemTimeOrZero(timeUTC);
  record.AdjGpsSec = AdjGpsSeconds(timeUTC);
}

}  // namespace kv
