#include "time/FileTimes.h"

#include <limits>

#include "platform/FileTime.h"
#include "time/TimeConverter.h"

namespace kv {

std::int64_t SecondsToTicks(double seconds) {
  constexpr double kTwo63 = 9223372036854775808.0;
  const double ticks = seconds / 0.0000001;  // the division, not a product, decides the last tick
  if (ticks > -kTwo63 && ticks < kTwo63) return static_cast<std::int64_t>(ticks);
  if (ticks >= kTwo63 && ticks < 2 * kTwo63) return static_cast<std::int64_t>(static_cast<std::uint64_t>(ticks));
  return std::numeric_limits<std::int64_t>::min();
}

FILETIME FileTimeOrZero(const SYSTEMTIME& time) {
  FILETIME result{};
  ToFileTime(time, result);
  return result;
}

SYSTEMTIME SystemTimeOrZero(const FILETIME& time) {
  SYSTEMTIME result{};
  ToSystemTime(time, result);
  return result;
}

double AdjGpsSeconds(const FILETIME& timeUTC) {
  double seconds = 0.0;
  TimeConverter::WindowsFiletimeToAdjGPSSecs(static_cast<std::int64_t>(Ticks(timeUTC)), seconds);
  return seconds;
}

}  // namespace kv
