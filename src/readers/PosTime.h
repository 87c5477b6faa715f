#pragma once

#include <optional>

#include "KVRecords.h"
#include "platform/LocalCalendar.h"

namespace kv {

/// Gives samples their UTC times. Use one clock per file.
class PosClock {
 public:
  explicit PosClock(Calendar calendar) : calendar_(calendar) {}

  /// The whole second passes through the calendar; the fraction is added to the tick. Times outside the years 1601-9999
  /// count from the file time zero.
  FILETIME TimeOf(double adjGpsSeconds);

  /// Sets that time in all three forms. The milliseconds of `SystemTimeUTC` are the rounded fraction, on purpose up to
  /// 1000: the seconds always match the file time.
  void SetTime(double adjGpsSeconds, tagKVPosEvent& sample);

 private:
  LocalCalendar calendar_;
  std::optional<double> second_;  // the latest; many samples share one
  FILETIME time_{};               // of that second
};

}  // namespace kv
