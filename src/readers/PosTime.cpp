#include "readers/PosTime.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "time/FileTimes.h"
#include "time/TimeConverter.h"
#include "time/TimeStamps.h"

void kv::PosClock::SetTime(double adjGpsSeconds, tagKVPosEvent& sample) {
  const double second = std::floor(adjGpsSeconds), fraction = adjGpsSeconds - second;
  if (second_ != second) {
    std::string utc;
    TimeConverter::AdjGPSSecsToUTC(adjGpsSeconds, false, utc);
    SYSTEMTIME time = CalendarTime(std::wstring(utc.begin(), utc.end()));
    calendar_.Normalise(time);
    second_ = second;
    time_ = FileTimeOrZero(time);
  }
  kv::SetTime(AddTicks(time_, SecondsToTicks(fraction)), sample);
  if (!std::isfinite(fraction)) return;
  sample.SystemTimeUTC.wMilliseconds = static_cast<std::uint16_t>(std::lround(fraction * 1000));
}
