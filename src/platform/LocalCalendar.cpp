#include "platform/LocalCalendar.h"

#include <chrono>
#include <cstdint>
#include <tuple>

namespace kv {
namespace {

// Fields beyond their ranges carry over, as those of `mktime` do.
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
