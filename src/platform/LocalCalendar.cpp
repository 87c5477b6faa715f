#include "platform/LocalCalendar.h"

#include <chrono>
#include <cstdint>
#include <tuple>

namespace kv {
namespace {

// Fields beyond their ranges carry over, as with `mktime`.
void NormaliseInUtc(SYSTEMTIME& time) {
  using namespace std::chrono;
  const sys_days firstOfMonth = year{time.wYear} / January / 1 + months{time.wMonth - 1};
  const sys_seconds instant =
      firstOfMonth + days{time.wDay - 1} + hours{time.wHour} + minutes{time.wMinute} + seconds{time.wSecond};
  const sys_days day = floor<days>(instant);
  const year_month_day date{day};
  const hh_mm_ss clock{instant - day};
  const auto field = [](auto value) { return static_cast<std::uint16_t>(value); };
  time = {field(static_cast<int>(date.year())), field(static_cast<unsigned>(date.month())),
          field(weekday{day}.c_encoding()),     field(static_cast<unsigned>(date.day())),
          field(clock.hours().count()),         field(clock.minutes().count()),
          field(clock.seconds().count()),       0};
}

}  // namespace

bool NormaliseInLocalCalendar(SYSTEMTIME& time) {
  std::tm local{};
  local.tm_year = time.wYear - 1900;
  local.tm_mon = time.wMonth - 1;
  local.tm_mday = time.wDay;
  local.tm_hour = time.wHour;
  local.tm_min = time.wMinute;
  local.tm_sec = time.wSecond;
  local.tm_isdst = -1;
  if (!NormaliseLocal(local)) return false;
  const auto field = [](int value) { return static_cast<std::uint16_t>(value); };
  time = {field(local.tm_year + 1900), field(local.tm_mon + 1), field(local.tm_wday), field(local.tm_mday),
          field(local.tm_hour),        field(local.tm_min),     field(local.tm_sec),  0};
  return true;
}

bool LocalCalendar::Normalise(SYSTEMTIME& time) {
  if (calendar_ == Calendar::Utc) {
    NormaliseInUtc(time);
    return true;
  }
  // Liberia was the last to change its clocks by a part of a minute, in January 1972.
  constexpr int kFirstYearOfWholeMinutes = 1973, kLastYear = 2099;
  if (time.wYear < kFirstYearOfWholeMinutes || time.wYear > kLastYear || time.wSecond > 59) {
    return NormaliseInLocalCalendar(time);
  }
  const auto key = [](const SYSTEMTIME& t) { return std::tie(t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute); };
  if (key(time) != key(minute_)) {
    SYSTEMTIME normalised = time;
    normalised.wSecond = 0;
    if (!NormaliseInLocalCalendar(normalised)) return false;
    minute_ = time;
    normalised_ = normalised;
  }
  const std::uint16_t second = time.wSecond;
  time = normalised_;
  time.wSecond = second;
  return true;
}

}  // namespace kv
