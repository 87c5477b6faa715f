#include "georef/EventRecords.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/LargePages.h"

namespace kv::mission {
namespace {

using Records = std::vector<EventRecord>;

constexpr std::int64_t kTickRange = std::int64_t{1} << 32;  // of the counter
constexpr std::size_t kFewestForFit = 5;                    // with fewer heartbeats it is unclear which one is wrong
constexpr std::size_t kMostForSlopes = 200;                 // heartbeats whose pairs are all compared
constexpr std::size_t kBelievedShare = 4;                   // one heartbeat in so many may be off

constexpr double kWildStep = 1e8;  // ticks there and back again; lines written late are nearer

bool InCounterRange(std::int64_t tick) { return tick >= 0 && tick < kTickRange; }

/// Compares two counts as they stand in the file, whether or not the counter wrapped between them.
bool AreFar(const EventRecord& a, const EventRecord& b, double limit) {
  double distance = std::abs(static_cast<double>(a.tick) - static_cast<double>(b.tick));
  if (InCounterRange(a.tick) && InCounterRange(b.tick))
    distance = std::min(distance, static_cast<double>(kTickRange) - distance);
  return distance > limit;
}

bool IsWild(const Records& records, std::size_t i) {
  const auto& record = records[i];
  if (records.size() < 3) return false;
  if (i > 0 && i + 1 < records.size())
    return AreFar(records[i - 1], record, kWildStep) && AreFar(record, records[i + 1], kWildStep) &&
           !AreFar(records[i - 1], records[i + 1], kWildStep);
  const auto neighbour = i == 0 ? std::size_t{1} : i - 1, behind = i == 0 ? std::size_t{2} : i - 2;
  return !record.time && AreFar(record, records[neighbour], kLargestStep) &&
         !AreFar(records[neighbour], records[behind], kLargestStep);
}

/// Removes the records for which `isOut` holds, by index.
template <typename IsOut>
Records TakeOut(Records& records, IsOut isOut) {
  std::size_t first = 0;
  while (first < records.size() && !isOut(first)) ++first;
  if (first == records.size()) return {};  // as a rule: then nothing is copied
  Records out, kept;
  ReserveInLargePages(kept, records.size());
  for (std::size_t i = 0; i < records.size(); ++i) (isOut(i) ? out : kept).push_back(records[i]);
  records = std::move(kept);
  return out;
}

struct Beat {
  std::size_t index;  // of its record
  double tick;        // from the first heartbeat
  double seconds;
};

std::vector<Beat> BeatsOf(const Records& records) {
  std::vector<Beat> beats;
  const EventRecord* first = nullptr;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const auto& record = records[i];
    if (!record.time) continue;
    if (!first) first = &record;
    beats.push_back(
        {i, static_cast<double>(record.tick) - static_cast<double>(first->tick), Seconds(*record.time - *first->time)});
  }
  return beats;
}

double Median(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

struct TickLine {
  double secondsPerTick = 0;
  double start = 0;  // seconds
  double DistanceOf(const Beat& beat) const { return std::abs(start + secondsPerTick * beat.tick - beat.seconds); }
  bool HasBeat(const Beat& beat) const { return DistanceOf(beat) <= kHeartbeatTolerance; }
};

/// The median of the slopes between pairs, and then of the offsets. Source: the estimator of Theil and Sen.
TickLine MedianLine(const std::vector<Beat>& beats) {
  const std::size_t stride = beats.size() / kMostForSlopes + 1;
  std::vector<double> slopes, starts;
  for (std::size_t i = 0; i < beats.size(); i += stride) {
    for (std::size_t j = i + stride; j < beats.size(); j += stride) {
      if (beats[j].tick != beats[i].tick)
        slopes.push_back((beats[j].seconds - beats[i].seconds) / (beats[j].tick - beats[i].tick));
    }
  }
  if (slopes.empty()) return {};
  TickLine line{Median(slopes), 0};
  for (const Beat& beat : beats) starts.push_back(beat.seconds - line.secondsPerTick * beat.tick);
  line.start = Median(starts);
  return line;
}

/// Through the first and the last.
TickLine EndToEndLine(const std::vector<Beat>& beats) {
  const double ticks = beats.back().tick;
  return {ticks != 0 ? beats.back().seconds / ticks : 0, 0};
}

/// Whether the line from end to end is enough to see that no beat is off. Usually it is: beats come evenly and are near
/// it. Most pairs are then at least a sixth of the whole apart, so their median slope is off by at most 0.6 s over the
/// whole; the median line passes the middle, and no beat is 0.5 s away from it.
bool AreEvenlyOnOneLine(const std::vector<Beat>& beats) {
  constexpr double kLargestError = 0.05;      // seconds
  constexpr double kLargestShift = 1.0 / 16;  // of the whole, from where an even beat would be
  const TickLine line = EndToEndLine(beats);
  const double ticks = beats.back().tick, step = ticks / static_cast<double>(beats.size() - 1);
  if (!(ticks > 0) || beats.back().seconds < 1) return false;
  for (std::size_t i = 0; i < beats.size(); ++i) {
    const double shift = std::abs(beats[i].tick - static_cast<double>(i) * step);
    if (line.DistanceOf(beats[i]) > kLargestError || shift > kLargestShift * ticks) return false;
  }
  return true;
}

/// A camera event cannot be timed if the nearest heartbeats on both sides are wrong.
void MarkUntimeable(Records& records, const std::vector<bool>& off) {
  for (auto& record : records) record.timeable = record.time.has_value();
  bool wrong = true;
  const auto look = [&](std::size_t i) {
    if (records[i].time) wrong = off[i];
    if (!wrong) records[i].timeable = true;
  };
  for (std::size_t i = 0; i < records.size(); ++i) look(i);
  wrong = true;
  for (std::size_t i = records.size(); i-- > 0;) look(i);
}

/// Follows a counter of 32 bits from tick to tick.
class TickCounter {
 public:
  /// @return how often it wrapped before this tick; 0 for a tick outside its range
  std::int64_t WrapsBefore(std::int64_t tick) {
    const auto isLow = [](std::int64_t at) { return at < kTickRange / 4; };
    const auto isHigh = [](std::int64_t at) { return at >= kTickRange / 4 * 3; };
    if (!InCounterRange(tick)) return 0;
    if (last_ && isHigh(*last_) && isLow(tick)) ++wraps_;
    if (last_ && isLow(*last_) && isHigh(tick) && wraps_ > 0) --wraps_;  // a line from before the wrap, written late
    last_ = tick;
    return wraps_;
  }

 private:
  std::optional<std::int64_t> last_;
  std::int64_t wraps_ = 0;
};

}  // namespace

LineNumbers LinesOf(const Records& records) {
  LineNumbers lines;
  for (const auto& record : records) lines.push_back(record.line);
  return lines;
}

Records TakeOutWildTicks(Records& records) {
  return TakeOut(records, [&](std::size_t i) { return IsWild(records, i); });
}

void MakeContinuous(Records& records) {
  TickCounter counter;
  for (EventRecord& record : records) {
    record.wraps = counter.WrapsBefore(record.tick);
    record.tick += record.wraps * kTickRange;
  }
}

std::size_t SettleWraps(Records& records) {
  std::int64_t least = std::numeric_limits<std::int64_t>::max(), most = 0;
  for (const EventRecord& record : records) {
    const bool isCounted = InCounterRange(record.tick - record.wraps * kTickRange);
    if (isCounted) least = std::min(least, record.wraps), most = std::max(most, record.wraps);
  }
  if (least > most) return 0;
  if (least > 0) {
    for (EventRecord& record : records) {
      if (record.wraps >= least) record.tick -= least * kTickRange;
    }
  }
  return static_cast<std::size_t>(most - least);
}

HeartbeatCheck TakeOutOffHeartbeats(Records& records) {
  const std::vector<Beat> beats = BeatsOf(records);
  if (beats.size() < 2 || AreEvenlyOnOneLine(beats)) return {};
  const bool fits = beats.size() >= kFewestForFit;
  const TickLine line = fits ? MedianLine(beats) : EndToEndLine(beats);
  std::vector<bool> off(records.size());
  std::size_t count = 0;
  for (const Beat& beat : beats) {
    off[beat.index] = !line.HasBeat(beat);
    count += off[beat.index];
  }
  if (!(line.secondsPerTick > 0) || (count > 0 && !fits) || kBelievedShare * count > beats.size()) return {{}, false};
  if (count == 0) return {};
  MarkUntimeable(records, off);
  return {LinesOf(TakeOut(records, [&](std::size_t i) { return off[i]; })), true};
}

double StepTo(const EventRecord& next, const EventRecord& record) {
  return static_cast<double>(next.tick) - static_cast<double>(record.tick);
}

bool HaveTickSteps(const Records& records) {
  const auto isFault = [](const EventRecord& record, const EventRecord& next) {
    const double step = StepTo(next, record);
    return step < 0 || step > kLargestStep;
  };
  return std::adjacent_find(records.begin(), records.end(), isFault) != records.end();
}

std::vector<bool> PlausibleOutages(const Records& records) {
  std::vector<bool> plausible(records.size());
  std::optional<std::int64_t> next;  // heartbeat's tick
  for (std::size_t i = records.size(); i-- > 0;) {
    if (i + 1 < records.size()) {
      plausible[i] = StepTo(records[i + 1], records[i]) > kLargestStep && next && records[i + 1].tick <= *next;
    }
    if (records[i].time) next = records[i].tick;
  }
  std::optional<std::int64_t> last;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (records[i].time) last = records[i].tick;
    if (!last || records[i].tick < *last) plausible[i] = false;
  }
  return plausible;
}

}  // namespace kv::mission
