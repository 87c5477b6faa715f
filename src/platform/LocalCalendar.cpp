#include "platform/LocalCalendar.h"

#include <tuple>

namespace kv {

bool LocalCalendar::Normalise(SYSTEMTIME& time) {
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
