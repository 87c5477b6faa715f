#include "platform/LocalCalendar.h"

namespace kv {

static_assert(sizeof(std::time_t) >= 8, "heartbeats reach beyond 2038");

bool NormaliseLocal(std::tm& time) {
  const std::time_t instant = std::mktime(&time);
  return instant != -1 && localtime_r(&instant, &time);
}

}  // namespace kv
