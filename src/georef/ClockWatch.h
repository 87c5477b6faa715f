#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "KVPlatform.h"
#include "time/FileTimes.h"

/// The master clock: a free-running 32-bit tick counter that heartbeats tie to UTC.
namespace kv {

/// UTC as a linear function of ticks, from two heartbeats.
struct TickScale {
  double firstTick;
  FILETIME firstTime;
  double secondsPerTick;

  /// @param wrapped  whether the counter wrapped between the two; false for continuous ticks
  static TickScale Between(double firstTick, FILETIME firstTime, double lastTick, FILETIME lastTime,
                           bool wrapped = false);

  /// UTC time of a tick count. The distance from the first heartbeat has no sign, on purpose: an earlier count gets a
  /// time equally far after the heartbeat. Callers expect this.
  /// @param pastWrap  whether the count was taken after the wrap
  FILETIME TimeOf(double tick, bool pastWrap = false) const;
};

/// Follows the clock stamp by stamp in file order and times the stamped records.
class ClockWatch {
 public:
  /// Adds the tick of a record to be timed.
  void Stamp(double tick);

  /// Adds a tick with a known time.
  void Heartbeat(double tick, FILETIME time);

  /// Marks the step to this tick, the next one, as not a wrap, however large: the counter ran on without output.
  void Bridge(double tick) { previousTick_ = tick; }

  /// The scale from the first and the last heartbeat; nothing when there are fewer than two.
  std::optional<TickScale> Scale() const;

  /// Times the records whose ticks were given to `Stamp`.
  /// @param isStamped  whether a record was stamped; stamped records are in the order of their stamps
  /// @return           false when there is no scale; the records are then untouched
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
