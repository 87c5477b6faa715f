#include "platform/LocalCalendar.h"

#include <ctime>

namespace kv {

static_assert(sizeof(std::time_t) >= 8, "heartbeats reach beyond 2038");

bool NormaliseInLocalCalendar(SYSTEMTIME& time) {
  std::tm local{};
  local.tm_year = time.wYear - 1900;
  local.tm_mon = time.wMonth - 1;
  local.tm_mday = time.wDay;
  local.tm_hour = time.wHour;
  local.tm_min = time.wMinute;
  local.tm_sec = time.wSecond;
  local.tm_isdst = -1;
  const std::time_t instant = std::mktime(&local);
  if (instant == -1 || !localtime_r(&instant, &local)) return false;
  const auto field = [](int value) { return static_cast<std::uint16_t>(value); };
  time = {field(local.tm_year + 1900), field(local.tm_mon + 1), field(local.tm_wday), field(local.tm_mday),
          field(local.tm_hour),        field(local.tm_min),     field(local.tm_sec),  0};
  return true;
}

}  // namespace kv
