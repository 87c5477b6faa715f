#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "time/Instants.h"

/// The sound lines of an event file, and what their ticks and heartbeats say of one another.
namespace kv::mission {

struct EventRecord {
  std::size_t line = 0;  ///< its number in the file, from 1
  std::int64_t tick = 0;
  std::int64_t camera = 0;      ///< of a camera event
  std::optional<Instant> time;  ///< of a heartbeat
  std::int64_t wraps = 0;       ///< of the counter before this line
  bool timeable = true;         ///< whether the heartbeats around a camera event may be believed
};

LineNumbers LinesOf(const std::vector<EventRecord>& records);

/// Ticks; the clock takes a larger step between two lines for a wrap of the counter.
inline constexpr double kLargestStep = 1e9;
/// Seconds; heartbeats are on whole seconds.
inline constexpr double kHeartbeatTolerance = 0.5;

/// Takes out lines whose tick lies far from both neighbours' (1e8 ticks, at the ends 1e9), while those are near each
/// other. At the ends only camera events are taken out: a heartbeat there may stand alone before or after an outage.
/// @return what was taken out
std::vector<EventRecord> TakeOutWildTicks(std::vector<EventRecord>& records);

/// Turns the counts of a 32-bit counter into continuous ones: each wrap adds 2^32.
void MakeContinuous(std::vector<EventRecord>& records);

/// Counts the wraps that lie between the records, and the continuous ticks from the first of them on.
std::size_t SettleWraps(std::vector<EventRecord>& records);

struct HeartbeatCheck {
  LineNumbers off;    ///< heartbeats taken out: more than the tolerance away from the line that the others are on
  bool agree = true;  ///< whether those that stay are on one line
};

/// Lays a line of time over ticks through the heartbeats; a quarter of five and more may be wrong without bending it.
/// When more are, nothing is taken out.
HeartbeatCheck TakeOutOffHeartbeats(std::vector<EventRecord>& records);

/// Ticks from a record to the next one; negative for a step back.
double StepTo(const EventRecord& next, const EventRecord& record);

/// Whether a tick is lower than the one before, or higher by more than the largest step. Usually none is.
bool HaveTickSteps(const std::vector<EventRecord>& records);

/// Whether the step from a record to the next is that large, but plausible as an outage: forward, and between
/// heartbeats. To be asked only when the heartbeats agree.
std::vector<bool> PlausibleOutages(const std::vector<EventRecord>& records);

}  // namespace kv::mission
