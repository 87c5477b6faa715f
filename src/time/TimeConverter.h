#pragma once

#include <cstdint>
#include <string>

#include "KVPlatform.h"

/// Conversions between UTC and GPS time. Adjusted GPS seconds count from GPS second 1,000,000,000 (2011-09-14 01:46:25
/// UTC), as the LAS point-cloud format defines them. Before 1980-01-06 the two scales run together; after the last
/// known leap second they keep its offset.
class TimeConverter {
 public:
  /// @param fileTime  UTC file time; any 64-bit value
  static void WindowsFiletimeToAdjGPSSecs(std::int64_t fileTime, double& adjGpsSeconds);

  /// The inverse: exact to the tick while the magnitude is below 2^29 s (September 1994 to September 2028), rounded to
  /// the whole microsecond beyond. An instant inside a leap second gets the file time one second later, which belongs
  /// to the following day.
  /// @param fileTime  receives 0x8000000000000000 for seconds at or beyond the ends of the 64-bit file time
  static void AdjGPSSecsToWindowsFiletime(double adjGpsSeconds, std::int64_t& fileTime);

  static void GPSWkSecsToAdjGPSSecs(std::int32_t week, double secondsOfWeek, double& adjGpsSeconds);

  /// Writes "YYYY-MM-DD hh:mm:ss", truncated; a leap second has second 60.
  /// @param withFraction  appends ".ffffff", the microseconds: truncated, or rounded beyond 2^29 s, but never up to the
  ///                      next second
  /// @param utc           receives an empty text outside the years 1-9999
  static void AdjGPSSecsToUTC(double adjGpsSeconds, bool withFraction, std::string& utc);

  /// Reads both forms of `AdjGPSSecsToUTC`; any characters may separate the fields.
  /// A text in neither form leaves the outputs untouched.
  static void UTCToGPSWeekSecs(const std::string& utc, std::int32_t& week, double& secondsOfWeek);
};

namespace kv {

/// The UTC second of an instant: what `AdjGPSSecsToUTC` writes, as numbers. All zero outside the years 1-9999; the day of
/// week and milliseconds are always 0.
SYSTEMTIME UtcSecond(double adjGpsSeconds);

}  // namespace kv
