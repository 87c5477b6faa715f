#include "georef/ClockWatch.h"

#include <cmath>

namespace kv {
namespace {

constexpr double kCounterRange = 4294967295.0;
// A larger step between consecutive tick counts means that the counter wrapped.
constexpr double kWrapStep = 1e9;

// The order of the terms is fixed, on purpose: it decides the last bit of the distance past a wrap.
double TickDistance(double firstTick, double tick, bool wrapped) {
  return std::abs(wrapped ? kCounterRange - tick + firstTick : firstTick - tick);
}

}  // namespace

TickScale TickScale::Between(double firstTick, FILETIME firstTime, double lastTick, FILETIME lastTime, bool wrapped) {
  return {firstTick, firstTime, SecondsBetween(lastTime, firstTime) / TickDistance(firstTick, lastTick, wrapped)};
}

FILETIME TickScale::TimeOf(double tick, bool pastWrap) const {
  const double wholeTicks = std::trunc(TickDistance(firstTick, tick, pastWrap));
  return AddTicks(firstTime, SecondsToTicks(wholeTicks * secondsPerTick));
}

void ClockWatch::Follow(double tick) {
  wrapped_ = wrapped_ || (previousTick_ && std::abs(tick - *previousTick_) > kWrapStep);
  previousTick_ = tick;
}

void ClockWatch::Stamp(double tick) {
  Follow(tick);
  if (!wrapped_) ++stampsBeforeWrap_;
}

void ClockWatch::Heartbeat(double tick, FILETIME time) {
  Follow(tick);
  hasTwo_ = first_.has_value();
  last_ = Beat{tick, time};
  if (!first_) first_ = last_;
}

std::optional<TickScale> ClockWatch::Scale() const {
  if (!hasTwo_) return {};
  return TickScale::Between(first_->tick, first_->time, last_->tick, last_->time, wrapped_);
}

}  // namespace kv
