#include "mission/inputs/Trajectory.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "mission/inputs/LeftOut.h"
#include "platform/FileNames.h"
#include "readers/Fix.h"
#include "readers/LineReader.h"
#include "readers/NmeaSentence.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using std::chrono::days;
using std::chrono::hours;

constexpr double kHalfTurn = 180.0;
/// Any date will do: without one only times of day are shown.
constexpr std::chrono::sys_days kNoDate = std::chrono::year{1980} / std::chrono::January / 6;

/// Days from one fix to the next. A receiver log that goes on within a day pauses for less than 23 hours; one whose
/// pieces are out of order goes back by less than 12.
int DaysBetween(Hundredths from, Hundredths to) { return to - from < -hours{12} ? 1 : to - from > hours{23} ? -1 : 0; }

/// @param figure  as in GGA; 3 is a military fix, which says nothing about its accuracy
PositionQuality QualityOf(int figure) {
  using enum PositionQuality;
  constexpr std::array kQualities{None, Single, Dgps, None, Fixed, Float, Estimated, Estimated, Simulated};
  const auto index = static_cast<std::size_t>(figure);
  return index < kQualities.size() ? kQualities[index] : None;
}

/// Collects the fixes of one receiver log, line by line.
class SentenceCollector {
 public:
  void Take(std::string_view line) {
    SentenceCounts& counts = trajectory.counts;
    ++counts.lines;
    SentenceKind kind = Classify(line, sentence_);
    if (kind == SentenceKind::Fix && !TakeFix()) kind = SentenceKind::RepeatedTime;
    if (kind == SentenceKind::OtherSentence) {
      ++counts.others[std::string(sentence_.type)];
      KeepDate();
    }
    ++counts.kinds[static_cast<std::size_t>(kind)];
  }

  bool HasFix() const { return !times_.empty(); }
  Hundredths FirstTime() const { return times_.front().timeOfDay; }
  const std::optional<Instant>& DatedTime() const { return dated_; }

  /// Gives the fixes their times once the date of the first is known.
  void SetTimes(Date first) {
    std::optional<DayClock> clock;
    int day = 0;
    for (std::size_t i = 0; i < times_.size(); ++i) {
      if (!clock || times_[i].day != day) clock.emplace(ToFileTime(first + days{day = times_[i].day}));
      clock->SetTime(TimeOfDayAt(times_[i].timeOfDay.count()), trajectory.fixes[i]);
    }
  }

  Trajectory trajectory;

 private:
  struct FixTime {
    int day;  ///< from the first fix's
    Hundredths timeOfDay;
  };

  /// Keeps the last dated sentence before the first fix, or the one after it: there the receiver knows the time.
  void KeepDate() {
    if (isDateSettled_) return;
    const auto time = mission::DatedTime(sentence_);
    if (!time) return;
    dated_ = time;
    isDateSettled_ = HasFix();
  }

  bool TakeFix() {
    const auto& [clock, quality, satellites, hdop, height, separation] = sentence_.fix;
    int day = 0;
    if (HasFix()) {
      const FixTime& last = times_.back();
      if (last.timeOfDay == clock.time) return false;
      day = last.day + DaysBetween(last.timeOfDay, clock.time);
    }
    times_.push_back({day, clock.time});
    trajectory.counts.truncatedTimes += clock.truncated;
    ++trajectory.counts.qualities[quality];
    trajectory.qualities.push_back(
        {QualityOf(quality), static_cast<std::uint16_t>(std::min(satellites, 0xFFFF)), static_cast<float>(hdop)});
    SetPlace(std::span(sentence_.fields).first(kFixTokens), height, separation, units_,
             trajectory.fixes.emplace_back());
    return true;
  }

  Sentence sentence_;
  ColumnText units_;
  std::vector<FixTime> times_;
  std::optional<Instant> dated_;
  bool isDateSettled_ = false;
};

void Inspect(double maxGapSeconds, Trajectory& trajectory) {
  trajectory.first = FromFileTime(trajectory.fixes.front().TimeUTC);
  trajectory.last = FromFileTime(trajectory.fixes.back().TimeUTC);
  const tagKVTrajectoryObs* last = nullptr;
  for (const auto& fix : trajectory.fixes) {
    trajectory.bounds.Add(fix.Latitude, fix.Longitude, fix.Altitude);
    if (last) {
      const Instant from = FromFileTime(last->TimeUTC), to = FromFileTime(fix.TimeUTC);
      if (Seconds(to - from) > maxGapSeconds) trajectory.gaps.push_back({from, to, last->Latitude, last->Longitude});
      trajectory.stepsBack += to < from;
      if (std::abs(fix.Longitude - last->Longitude) > kHalfTurn)
        trajectory.crossings.push_back({from, to, last->Latitude, last->Longitude});
    }
    last = &fix;
  }
}

[[noreturn]] void FailWithoutFix(const std::filesystem::path& path, const SentenceCounts& counts) {
  const std::string leftOut = LeftOutText(counts);
  throw Failure(fmt::format("{}: no usable fix in {}{}{}", Utf8(path), Counted(counts.lines, "line"),
                            leftOut.empty() ? "" : ": ", leftOut));
}

/// Takes the date from the first source that has it, and reports sources that contradict it.
void ChooseDate(const DateSources& sources, const SentenceCollector& collector, Trajectory& trajectory, Job& job) {
  const auto choose = [&](Date date, const char* source) {
    if (!trajectory.date) {
      trajectory.date = date, trajectory.dateSource = source;
    } else if (date != *trajectory.date) {
      job.Add(Found::TrajectoryDateContradicted, {{"date", DateText(*trajectory.date)},
                                                  {"source", trajectory.dateSource},
                                                  {"other", source},
                                                  {"otherDate", DateText(date)}});
    }
  };
  if (sources.given) choose(*sources.given, "option");
  if (sources.heartbeat) choose(DateNearest(*sources.heartbeat, collector.FirstTime()), "heartbeat");
  if (collector.DatedTime()) choose(DateNearest(*collector.DatedTime(), collector.FirstTime()), "sentence");
}

}  // namespace

Date DateNearest(Instant instant, Hundredths timeOfDay) {
  // Half a day later the day that began last is the nearest one.
  return std::chrono::floor<days>(instant - timeOfDay + hours{12});
}

Trajectory ReadTrajectoryFile(const std::filesystem::path& path, const DateSources& dates, double maxGapSeconds,
                              Job& job) {
  LineReader reader(path, CtrlZ::IsText, job, "reading the trajectory");
  SentenceCollector collector;
  for (std::string_view line; reader.Next(line);) collector.Take(line);
  Trajectory& trajectory = collector.trajectory;
  if (!collector.HasFix() && dates.mustBeDated) FailWithoutFix(path, trajectory.counts);
  if (!collector.HasFix()) return std::move(trajectory);
  ChooseDate(dates, collector, trajectory, job);
  if (!trajectory.date && dates.mustBeDated)
    throw Failure(Utf8(path) + ": nothing tells the date of the fixes; give it with --date YYYY-MM-DD");
  collector.SetTimes(trajectory.date.value_or(kNoDate));
  Inspect(maxGapSeconds, trajectory);
  return std::move(trajectory);
}

Trajectory InspectedTrajectory(std::vector<tagKVTrajectoryObs>&& fixes, double maxGapSeconds) {
  Trajectory trajectory;
  trajectory.fixes = std::move(fixes);
  Inspect(maxGapSeconds, trajectory);
  return trajectory;
}

void TellOfTrajectory(const Trajectory& trajectory, const TrajectoryWords& words, Job& job) {
  constexpr std::size_t kNamed = 5;
  const auto& gaps = trajectory.gaps;
  for (std::size_t i = 0; i < std::min(kNamed, gaps.size()); ++i) {
    job.Add(Found::TrajectoryGap, {{"trajectory", words.name},
                                   {"seconds", Seconds(gaps[i].to - gaps[i].from)},
                                   {"from", gaps[i].from},
                                   {"latitude", gaps[i].latitude},
                                   {"longitude", gaps[i].longitude}});
  }
  if (gaps.size() > kNamed)
    job.Add(Found::TrajectoryGapsMore, {{"trajectory", words.name}, {"count", Count(gaps.size() - kNamed)}});
  if (trajectory.stepsBack > 0)
    job.Add(Found::TrajectoryRunsBack,
            {{"trajectory", words.name}, {"count", Count(trajectory.stepsBack)}, {"reason", words.outOfOrder}});
  if (!trajectory.crossings.empty())
    job.Add(Found::TrajectoryCrossesMeridian, {{"trajectory", words.name}, {"effect", words.crossing}});
  if (trajectory.counts.truncatedTimes > 0)
    job.Add(Found::FixTimesCut, {{"count", Count(trajectory.counts.truncatedTimes)}});
}

}  // namespace kv::mission

KVMission::Trajectory KVMission::ReadTrajectory(const std::filesystem::path& path, const TrajectoryOptions& options,
                                                Observer& observer) {
  kv::mission::Job job(observer);
  Trajectory trajectory = kv::mission::ReadTrajectoryFile(path, {options.date, {}, true}, options.maxGapSeconds, job);
  kv::mission::TellOfTrajectory(trajectory, kv::mission::kReceiverWords, job);
  return trajectory;
}
