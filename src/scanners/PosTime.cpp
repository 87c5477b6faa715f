#include "scanners/PosTime.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "conversions/FileTimes.h"
#include "conversions/TimeConverter.h"
#include "conversions/TimeStamps.h"

void kv::SetPosTime(double adjGpsSeconds, LocalCalendar& calendar, tagKVPosEvent& sample) {
  std::string utc;
  TimeConverter::AdjGPSSecsToUTC(adjGpsSeconds, false, utc);
  SYSTEMTIME second = CalendarTime(std::wstring(utc.begin(), utc.end()));
  calendar.Normalise(second);
  const double fraction = adjGpsSeconds - std::floor(adjGpsSeconds);
  SetTime(AddTicks(FileTimeOrZero(second), SecondsToTicks(fraction)), sample);
  if (!std::isfinite(fraction)) return;
  sample.SystemTimeUTC.wMilliseconds = static_cast<std::uint16_t>(std::lround(fraction * 1000));
}
