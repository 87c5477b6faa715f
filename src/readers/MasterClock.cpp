#include "readers/MasterClock.h"

#include <cmath>
#include <stdexcept>

#include "time/FileTimes.h"
#include "time/TimeStamps.h"

namespace kv {
namespace {

constexpr double kCounterRange = 4294967295.0;
// A larger step between two consecutive tick counts is a wrap of the counter.
constexpr double kWrapStep = 1e9;
constexpr std::size_t kHeartbeatLength = 12;

// Range-checked as the calendar that follows takes it; days are checked against 31 whatever the month.
int InRange(int value, int lowest, int highest) {
  if (value < lowest || value > highest) throw std::out_of_range("heartbeat date or time out of range");
  return value;
}

// The order of the terms is the clock's own; a counter that wraps is measured exactly like this on every side.
double TickDistance(double firstTick, double tick, bool wrapped) {
  return std::abs(wrapped ? kCounterRange - tick + firstTick : firstTick - tick);
}

}  // namespace

std::optional<FILETIME> HeartbeatReader::Read(std::wstring_view text) {
  if (text.size() != kHeartbeatLength || WholeInteger(text).value_or(0) <= kLargestCameraNumber) return {};
  const auto field = [&](std::size_t begin, int offset, int lowest, int highest) {
    return static_cast<std::uint16_t>(InRange(TwoDigits(text, begin) + offset, lowest, highest));
  };
  SYSTEMTIME time{};
  time.wYear = field(10, 2000, 1970, 2099);
  time.wMonth = field(8, 0, 1, 12);
  time.wDay = field(6, 0, 1, 31);
  time.wHour = field(0, 0, 0, 23);
  time.wMinute = field(2, 0, 0, 59);
  time.wSecond = field(4, 0, 0, 59);
  calendar_.Normalise(time);  // takes every time of these years
  return FileTimeOrZero(time);
}

TickScale TickScale::Between(double firstTick, FILETIME firstTime, double lastTick, FILETIME lastTime, bool wrapped) {
  return {firstTick, firstTime, SecondsBetween(lastTime, firstTime) / TickDistance(firstTick, lastTick, wrapped)};
}

FILETIME TickScale::TimeOf(double tick, bool pastWrap) const {
  const double wholeTicks = std::trunc(TickDistance(firstTick, tick, pastWrap));
  return AddTicks(firstTime, SecondsToTicks(wholeTicks * secondsPerTick));
}

bool ClockWatch::Stamp(double tick) {
  wrapped_ = wrapped_ || (previousTick_ && std::abs(tick - *previousTick_) > kWrapStep);
  previousTick_ = tick;
  return wrapped_;
}

bool ClockWatch::Heartbeat(double tick, FILETIME time) {
  hasTwo_ = first_.has_value();
  last_ = Beat{tick, time};
  if (!first_) first_ = last_;
  return Stamp(tick);
}

std::optional<TickScale> ClockWatch::Scale() const {
  if (!hasTwo_) return {};
  return TickScale::Between(first_->tick, first_->time, last_->tick, last_->time, wrapped_);
}

}  // namespace kv
