#pragma once

#include <string_view>

#include "KVPlatform.h"
#include "platform/LocalCalendar.h"

/// The master clock: a free-running 32-bit tick counter that heartbeats tie to UTC.
namespace kv {

/// A larger step between two consecutive tick counts is a wrap of the counter.
inline constexpr double kWrapStep = 1e9;

/// Reads the texts of heartbeats. One reader serves one file.
class HeartbeatReader {
 public:
  /// @param text  hhmmssDDMMYY, 12 characters
  /// @return      the UTC time, taken through the local calendar and back: day 31 of a month of 30 becomes the first of the
  ///              next month, and a time that the machine's daylight-saving change skips moves with it
  /// @throws      std::out_of_range when a value is outside the calendar's ranges
  FILETIME Read(std::wstring_view text);

 private:
  LocalCalendar calendar_;
};

/// What two heartbeats say of the clock.
struct TickScale {
  double firstTick;
  FILETIME firstTime;
  double secondsPerTick;

  /// @param wrapped  whether the counter wrapped between the two
  static TickScale Between(double firstTick, FILETIME firstTime, double lastTick, FILETIME lastTime, bool wrapped);

  /// UTC time of a tick count. The distance from the first heartbeat counts without its sign: a count from before it is
  /// placed after it, as far away. Callers drop or know such events; do not mend it here.
  /// @param pastWrap  whether the count stands after the wrap
  FILETIME TimeOf(double tick, bool pastWrap) const;
};

}  // namespace kv
