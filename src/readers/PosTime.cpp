#include "readers/PosTime.h"

#include <cmath>
#include <cstdint>

#include "time/FileTimes.h"
#include "time/TimeConverter.h"

FILETIME kv::PosClock::TimeOf(double adjGpsSeconds) {
  const double second = std::floor(adjGpsSeconds);
  if (second_ != second) {
    SYSTEMTIME time = UtcSecond(adjGpsSeconds);
    calendar_.Normalise(time);
    second_ = second;
    time_ = FileTimeOrZero(time);
  }
  return AddTicks(time_, SecondsToTicks(adjGpsSeconds - second));
}

void kv::PosClock::SetTime(double adjGpsSeconds, tagKVPosEvent& sample) {
  kv::SetTime(TimeOf(adjGpsSeconds), sample);
  const double fraction = adjGpsSeconds - std::floor(adjGpsSeconds);
  if (!std::isfinite(fraction)) return;
  sample.SystemTimeUTC.wMilliseconds = static_cast<std::uint16_t>(std::lround(fraction * 1000));
}
