#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "KVPlatform.h"
#include "time/FileTimes.h"

/// The master clock: a free-running 32-bit tick counter that heartbeats tie to UTC.
namespace kv {

/// UTC over ticks, by two heartbeats.
struct TickScale {
  double firstTick;
  FILETIME firstTime;
  double secondsPerTick;

  /// @param wrapped  whether the counter wrapped between the two; never for continuous ticks
  static TickScale Between(double firstTick, FILETIME firstTime, double lastTick, FILETIME lastTime,
                           bool wrapped = false);

  /// UTC time of a tick count. The distance from the first heartbeat counts without its sign: a count from before it is
  /// placed after it, as far away. Callers drop or know such events; do not mend it here.
  /// @param pastWrap  whether the count stands after the wrap
  FILETIME TimeOf(double tick, bool pastWrap = false) const;
};

/// Follows the clock stamp by stamp in file order, and times the records that it stamped.
class ClockWatch {
 public:
  /// The tick of a record that is to be timed.
  void Stamp(double tick);

  /// A tick that stands beside a time.
  void Heartbeat(double tick, FILETIME time);

  /// The step to this tick, the next one, is no wrap however large it is: the counter ran on while nothing was written.
  void Bridge(double tick) { previousTick_ = tick; }

  /// What the first and the last heartbeat say of the whole file; nothing when there are fewer than two.
  std::optional<TickScale> Scale() const;

  /// Times the records whose ticks were given to `Stamp`.
  /// @param isStamped  tells them from the others; they are in the order of their stamps
  /// @return           false when there is no scale; the records are untouched then
  template <class Record, class IsStamped>
  bool SetTimes(std::vector<Record>& records, IsStamped isStamped) const {
    const auto scale = Scale();
    if (!scale) return false;
    std::size_t stamp = 0;
    for (Record& record : records) {
      if (isStamped(record)) SetTime(scale->TimeOf(record.MasterTick, stamp++ >= stampsBeforeWrap_), record);
    }
    return true;
  }

 private:
  struct Beat {
    double tick;
    FILETIME time;
  };

  void Follow(double tick);

  std::optional<double> previousTick_;
  std::optional<Beat> first_, last_;
  std::size_t stampsBeforeWrap_ = 0;
  bool hasTwo_ = false;
  bool wrapped_ = false;
};

}  // namespace kv
