#include "platform/LocalCalendar.h"

namespace kv {

bool NormaliseLocal(std::tm& time) {
  const __time64_t instant = _mktime64(&time);
  return instant != -1 && _localtime64_s(&time, &instant) == 0;
}

}  // namespace kv
