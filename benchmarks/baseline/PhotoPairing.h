#pragma once

#include <map>
#include <string>

#include "KVUtilities.h"

/// The rule of pairing by time word by word.
namespace baseline {

/// The name of the photo nearest to an event: the first of the smallest difference within the range; empty for none.
inline std::wstring ClosestPhoto(const SYSTEMTIME& eventTime, const std::map<std::wstring, SYSTEMTIME>& photos,
                                 double offsetSeconds, double rangeSeconds) {
  double smallest = 3.4028234663852886e38;
  const std::wstring* closest = nullptr;
  for (const auto& [name, time] : photos) {
    const SYSTEMTIME moved = KVUtilities::AddSecondsToSystemTime(time, offsetSeconds);
    const double difference = KVUtilities::DeltaSecondsBetweenSystemTimes(moved, eventTime);
    if (!(difference <= rangeSeconds) || difference >= smallest) continue;
    smallest = difference;
    closest = &name;
  }
  return closest ? *closest : std::wstring();
}

}  // namespace baseline
