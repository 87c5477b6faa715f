#include "mission/inputs/SentenceCollector.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "georef/FixQualities.h"
#include "platform/LargePages.h"
#include "readers/Fix.h"

namespace kv::mission {
namespace {

using std::chrono::days;

/// Two receivers that write one log, or a logger with buffers, put fixes out of order by a few seconds.
constexpr std::chrono::seconds kLongestDelay{10};

/// @param figure  as in GGA; 3 is a military fix, which says nothing about its accuracy
PositionQuality QualityOf(int figure) {
  using enum PositionQuality;
  static constexpr std::array kQualities{None, Single, Dgps, None, Fixed, Float, Estimated, Estimated, Simulated};
  const auto index = static_cast<std::size_t>(figure);
  return index < kQualities.size() ? kQualities[index] : None;
}

void SetErrors(const FixErrors& errors, FixQuality& quality) {
  quality.horizontalSigma = HorizontalSigma(errors.latitude, errors.longitude);
  quality.verticalSigma = static_cast<float>(errors.height);
}

template <typename Item>
std::vector<Item> Picked(std::vector<Item>& items, const std::vector<std::size_t>& order) {
  std::vector<Item> picked;
  picked.reserve(order.size());
  for (const std::size_t i : order) picked.push_back(std::move(items[i]));
  return picked;
}

}  // namespace

void SentenceCollector::Take(std::string_view line) {
  SentenceCounts& counts = trajectory_.counts;
  ++counts.lines;
  SentenceKind kind = Classify(line, sentence_);
  if (kind == SentenceKind::Fix && !TakeFix(line)) kind = SentenceKind::RepeatedTime;
  if (kind == SentenceKind::Incomplete) ++counts.lacking[sentence_.lacks];
  if (kind == SentenceKind::NoFix) hasLostFix_ = true;
  if (kind == SentenceKind::OtherSentence) TakeOther();
  ++counts.kinds[static_cast<std::size_t>(kind)];
}

std::optional<Date> SentenceCollector::DateBefore() const {
  if (!datedBefore_) return std::nullopt;
  const auto midnight = std::chrono::floor<days>(*datedBefore_);
  const auto timeOfDay = std::chrono::floor<Hundredths>(*datedBefore_ - midnight);
  return midnight + days{After({0, timeOfDay}, FirstTime()).day};
}

std::pair<Instant, Instant> SentenceCollector::SpanOf(const std::vector<Stretch>& stretches, std::size_t index) const {
  const std::size_t firstFix = stretches[index].firstFix;
  const Date dayZero = stretches[index].dayZero;
  const std::size_t end = index + 1 < stretches.size() ? stretches[index + 1].firstFix : times_.size();
  const auto at = [&](std::size_t fix) { return Instant(dayZero + days{times_[fix].day}) + times_[fix].timeOfDay; };
  return {at(std::min(firstFix, times_.size() - 1)), at(end - 1)};
}

Trajectory SentenceCollector::Finish(const std::vector<Stretch>& stretches, double maxGapSeconds) {
  Inspection inspection(maxGapSeconds);
  if (SetTimes(stretches, inspection)) {
    inspection.WriteTo(trajectory_);
  } else {
    PutInOrder();
    Inspect(maxGapSeconds, trajectory_);
  }
  for (std::size_t i = 0, begin = 0; i < figures_.size(); begin = i) {
    while (i < figures_.size() && figures_[i] == figures_[begin]) ++i;
    trajectory_.counts.qualities[figures_[begin]] += i - begin;
  }
  return std::move(trajectory_);
}

bool SentenceCollector::TakeFix(std::string_view line) {
  hasLostFix_ = false;
  const FixNumbers& fix = sentence_.fix;
  if (HasFix() && times_.back().timeOfDay == fix.clock.time) [[unlikely]] {
    TakeRepeated();
    return false;
  }
  if (times_.size() == times_.capacity()) [[unlikely]]
    MakeRoomForFixes(line);
  SetPlace(trajectory_.fixes.emplace_back());  // first: counting the unit's owners waits for all earlier stores
  times_.push_back(HasFix() ? After(times_.back(), fix.clock.time) : RunningTime{0, fix.clock.time});
  figures_.push_back(fix.quality);
  trajectory_.counts.truncatedTimes += fix.clock.truncated;
  trajectory_.counts.convertedHeights += fix.wasConverted;
  FixQuality& quality = trajectory_.qualities.emplace_back();
  quality.quality = QualityOf(fix.quality);
  quality.satellites = static_cast<std::uint16_t>(std::min(fix.satellites, 0xFFFF));
  quality.hdop = static_cast<float>(fix.hdop);
  if (errors_ && errors_->time == fix.clock.time) SetErrors(*errors_, quality);
  return true;
}

void SentenceCollector::TakeRepeated() {
  tagKVTrajectoryObs other;
  SetPlace(other);
  elsewhere_ += IsJump(trajectory_.fixes.back(), other, 0);
}

void SentenceCollector::MakeRoomForFixes(std::string_view line) {
  MakeRoom(trajectory_.fixes, line, log_);
  const std::size_t room = trajectory_.fixes.capacity();
  ReserveInLargePages(times_, room), ReserveInLargePages(figures_, room);
  ReserveInLargePages(trajectory_.qualities, room);
}

void SentenceCollector::SetPlace(tagKVTrajectoryObs& fix) {
  const FixNumbers& numbers = sentence_.fix;
  fix.AltUnit = units_.Of(numbers.wasConverted ? "M" : sentence_.fields[kHeightUnit]);
  fix.Latitude = numbers.latitude, fix.Longitude = numbers.longitude;
  fix.GeoidOffst = numbers.separation, fix.Altitude = numbers.height + numbers.separation;
}

void SentenceCollector::TakeOther() {
  ++trajectory_.counts.others[std::string(sentence_.type)];
  if (const auto errors = ErrorsOf(sentence_)) TakeErrors(*errors);
  if (const auto time = DatedTime(sentence_)) TakeDate(*time);
}

/// Receivers write GST before or after the fix of the same time.
void SentenceCollector::TakeErrors(const FixErrors& errors) {
  constexpr std::size_t kLookBack = 16;  // fixes
  errors_ = errors;
  const std::size_t count = times_.size();
  for (std::size_t i = count; i > count - std::min(count, kLookBack); --i) {
    if (times_[i - 1].timeOfDay == errors.time) return SetErrors(errors, trajectory_.qualities[i - 1]);
  }
}

void SentenceCollector::TakeDate(Instant time) {
  if (!HasFix()) datedBefore_ = time;
  if (!HasFix() || hasLostFix_) return;
  const auto midnight = std::chrono::floor<days>(time);
  const auto timeOfDay = std::chrono::floor<Hundredths>(time - midnight);
  dated_.push_back({times_.size(), After(times_.back(), timeOfDay), midnight});
}

bool SentenceCollector::SetTimes(const std::vector<Stretch>& stretches, Inspection& inspection) {
  bool isAscending = true;
  Instant last = Instant::min();
  for (std::size_t i = 0, stretch = 0; stretch < stretches.size(); ++stretch) {
    const std::size_t end = stretch + 1 < stretches.size() ? stretches[stretch + 1].firstFix : times_.size();
    while (i < end) {
      const int day = times_[i].day;
      const DayClock clock(ToFileTime(stretches[stretch].dayZero + days{day}));
      for (; i < end && times_[i].day == day; ++i) {
        tagKVTrajectoryObs& fix = trajectory_.fixes[i];
        clock.SetTime(static_cast<std::uint32_t>(times_[i].timeOfDay.count()), fix);
        const Instant time = FromFileTime(fix.TimeUTC);
        isAscending = isAscending && last < time;
        last = time;
        inspection.Take(fix, time);
      }
    }
  }
  return isAscending;
}

/// Moves late fixes back to their place; where two have the same time, the first in the log counts.
void SentenceCollector::PutInOrder() {
  struct Timed {
    Instant time;
    std::size_t fix;
  };
  std::vector<Timed> sorted;
  for (std::size_t i = 0; i < trajectory_.fixes.size(); ++i) {
    const Instant time = FromFileTime(trajectory_.fixes[i].TimeUTC);
    auto place = sorted.end();
    while (place != sorted.begin() && std::prev(place)->time > time && std::prev(place)->time - time <= kLongestDelay)
      --place;
    if (place != sorted.begin() && std::prev(place)->time == time) {
      elsewhere_ += IsJump(trajectory_.fixes[std::prev(place)->fix], trajectory_.fixes[i], 0);
      continue;
    }
    if (place != sorted.end()) {
      ++trajectory_.moved;
      trajectory_.largestMoveSeconds = std::max(trajectory_.largestMoveSeconds, Seconds(sorted.back().time - time));
    }
    sorted.insert(place, {time, i});
  }
  const std::size_t repeated = trajectory_.fixes.size() - sorted.size();
  trajectory_.counts.kinds[static_cast<std::size_t>(SentenceKind::Fix)] -= repeated;
  trajectory_.counts.kinds[static_cast<std::size_t>(SentenceKind::RepeatedTime)] += repeated;
  if (repeated + trajectory_.moved == 0) return;
  std::vector<std::size_t> order;
  for (const Timed& timed : sorted) order.push_back(timed.fix);
  trajectory_.fixes = Picked(trajectory_.fixes, order);
  trajectory_.qualities = Picked(trajectory_.qualities, order);
  figures_ = Picked(figures_, order);
}

}  // namespace kv::mission
