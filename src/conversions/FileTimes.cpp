#include "conversions/FileTimes.h"

#include <limits>

#include "KVUtilities.h"
#include "conversions/TimeConverter.h"
#include "platform/FileTime.h"

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

FILETIME KVUtilities::Int64ToFiletime(std::int64_t ticks) {
  return kv::FileTimeFromTicks(static_cast<std::uint64_t>(ticks));
}

std::int64_t KVUtilities::FiletimeToInt64(FILETIME time) { return static_cast<std::int64_t>(kv::Ticks(time)); }

FILETIME KVUtilities::AddSecondsToFileTime(FILETIME time, double seconds) {
  return kv::AddTicks(time, kv::SecondsToTicks(seconds));
}

SYSTEMTIME KVUtilities::AddSecondsToSystemTime(SYSTEMTIME time, double seconds) {
  return kv::SystemTimeOrZero(AddSecondsToFileTime(kv::FileTimeOrZero(time), seconds));
}

double KVUtilities::DeltaSecondsBetweenFileTimes(FILETIME a, FILETIME b) { return kv::SecondsBetween(a, b); }

double KVUtilities::DeltaSecondsBetweenSystemTimes(SYSTEMTIME a, SYSTEMTIME b) {
  return kv::SecondsBetween(kv::FileTimeOrZero(a), kv::FileTimeOrZero(b));
}
