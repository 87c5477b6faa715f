#include "platform/FileTime.h"

#include <chrono>
#include <cstdint>

namespace kv {
namespace {

using namespace std::chrono;

// The rules are arithmetic, so one source serves every system.
constexpr sys_days kFileTimeEpoch = year{1601} / January / 1;
constexpr std::uint64_t kTicksPerMillisecond = 10'000;
constexpr std::uint64_t kTicksPerDay = 86'400'000 * kTicksPerMillisecond;
constexpr std::uint64_t kFirstRefusedTick = std::uint64_t{1} << 63;

bool IsCalendarTime(const SYSTEMTIME& time, const year_month_day& date) {
  return time.wYear >= 1601 && time.wYear <= 30827 && date.ok() && time.wHour < 24 && time.wMinute < 60 &&
         time.wSecond < 60 && time.wMilliseconds < 1000;
}

}  // namespace

bool ToFileTime(const SYSTEMTIME& time, FILETIME& result) {
  const year_month_day date{year{time.wYear}, month{time.wMonth}, day{time.wDay}};
  // chrono keeps month and day in a byte: a larger value must not wrap into a valid one.
  if (time.wMonth > 12 || time.wDay > 31 || !IsCalendarTime(time, date)) return false;
  const auto days = static_cast<std::uint64_t>((sys_days{date} - kFileTimeEpoch).count());
  const std::uint64_t seconds = (time.wHour * std::uint64_t{60} + time.wMinute) * 60 + time.wSecond;
  const std::uint64_t ticks = days * kTicksPerDay + (seconds * 1000 + time.wMilliseconds) * kTicksPerMillisecond;
  result.dwLowDateTime = static_cast<std::uint32_t>(ticks);
  result.dwHighDateTime = static_cast<std::uint32_t>(ticks >> 32);
  return true;
}

bool ToSystemTime(const FILETIME& time, SYSTEMTIME& result) {
  const std::uint64_t ticks = (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
  if (ticks >= kFirstRefusedTick) return false;
  const sys_days date = kFileTimeEpoch + days{static_cast<int>(ticks / kTicksPerDay)};
  const year_month_day calendar{date};
  const std::uint64_t milliseconds = ticks % kTicksPerDay / kTicksPerMillisecond;
  const auto field = [](auto value) { return static_cast<std::uint16_t>(value); };
  result.wYear = field(static_cast<int>(calendar.year()));
  result.wMonth = field(static_cast<unsigned>(calendar.month()));
  result.wDayOfWeek = field(weekday{date}.c_encoding());
  result.wDay = field(static_cast<unsigned>(calendar.day()));
  result.wHour = field(milliseconds / 3'600'000);
  result.wMinute = field(milliseconds / 60'000 % 60);
  result.wSecond = field(milliseconds / 1000 % 60);
  result.wMilliseconds = field(milliseconds % 1000);
  return true;
}

}  // namespace kv
