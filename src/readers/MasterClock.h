#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "KVPlatform.h"
#include "platform/LocalCalendar.h"

/// The master clock: a free-running 32-bit tick counter that heartbeats tie to UTC.
namespace kv {

/// The code beside a tick: a camera's number up to this, the text of a heartbeat above.
inline constexpr std::int64_t kLargestCameraNumber = 10;

/// Reads the texts of heartbeats. One reader serves one file.
class HeartbeatReader {
 public:
  /// @param text  hhmmssDDMMYY
  /// @return      nothing for a text that is no whole number above 10 of 12 characters; else the UTC time, taken
  ///              through the local calendar and back: day 31 of a month of 30 becomes the first of the next month, and
  ///              a time that the machine's daylight-saving change skips moves with it
  /// @throws      std::out_of_range when a value is outside the calendar's ranges
  std::optional<FILETIME> Read(std::wstring_view text);

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

/// Follows the clock through a file, stamp by stamp in file order.
class ClockWatch {
 public:
  /// @return whether the counter has wrapped, at this stamp or before
  bool Stamp(double tick);

  /// A stamp that stands beside a time.
  bool Heartbeat(double tick, FILETIME time);

  /// What the first and the last heartbeat say of the whole file; nothing when there are fewer than two.
  std::optional<TickScale> Scale() const;

 private:
  struct Beat {
    double tick;
    FILETIME time;
  };

  std::optional<double> previousTick_;
  std::optional<Beat> first_, last_;
  bool hasTwo_ = false;
  bool wrapped_ = false;
};

}  // namespace kv
