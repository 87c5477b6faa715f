#include "platform/LocalCalendar.h"

#include <ctime>

namespace kv {

bool NormaliseInLocalCalendar(SYSTEMTIME& time) {
  std::tm local{};
  local.tm_year = time.wYear - 1900;
  local.tm_mon = time.wMonth - 1;
  local.tm_mday = time.wDay;
  local.tm_hour = time.wHour;
  local.tm_min = time.wMinute;
  local.tm_sec = time.wSecond;
  local.tm_isdst = -1;
  const __time64_t instant = _mktime64(&local);
  if (instant == -1 || _localtime64_s(&local, &instant) != 0) return false;
  const auto field = [](int value) { return static_cast<WORD>(value); };
  time = {field(local.tm_year + 1900), field(local.tm_mon + 1), field(local.tm_wday), field(local.tm_mday),
          field(local.tm_hour),        field(local.tm_min),     field(local.tm_sec),  0};
  return true;
}

}  // namespace kv
