#include "mission/inputs/Trajectory.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "mission/inputs/Inspection.h"
#include "mission/inputs/LeftOut.h"
#include "mission/inputs/SentenceCollector.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using std::chrono::days;
using std::chrono::hours;

/// Any date will do: without one only times of day are shown.
constexpr std::chrono::sys_days kNoDate = std::chrono::year{1980} / std::chrono::January / 6;

[[noreturn]] void FailWithoutFix(const std::filesystem::path& path, const SentenceCounts& counts) {
  const std::string leftOut = LeftOutText(counts);
  throw Failure(fmt::format("{}: no usable fix in {}{}{}", Utf8(path), Counted(counts.lines, "line"),
                            leftOut.empty() ? "" : ": ", leftOut));
}

/// The date of a log's first fix, and what tells it.
struct Dating {
  std::optional<Date> date;
  const char* source = "";
};

/// Whether an instant is within half a day of a stretch of a log.
bool IsNear(Instant instant, const std::vector<Stretch>& stretches, const SentenceCollector& collector) {
  for (std::size_t i = 0; i < stretches.size(); ++i) {
    const auto [first, last] = collector.SpanOf(stretches, i);
    if (instant >= first - hours{12} && instant < last + hours{12}) return true;
  }
  return false;
}

/// Takes the date of the first fix from the first source that has it, and reports sources that contradict it.
/// @param stretches  by the log's own dated sentences, which also tell how later ones lie to the first; receives one if
///                   there are none
Dating ChooseDate(const DateSources& sources, const SentenceCollector& collector, std::vector<Stretch>& stretches,
                  Job& job) {
  Dating dating;
  const auto choose = [&](const std::optional<Date>& date, const char* source) {
    if (!dating.date && date) dating = {date, source};
  };
  std::optional<Date> heartbeat, own = collector.DateBefore();
  if (sources.heartbeat) heartbeat = DateNearest(*sources.heartbeat, collector.FirstTime());
  choose(sources.given, "option");
  if (!stretches.empty()) choose(own = stretches[0].dayZero, "sentence");
  choose(heartbeat, "heartbeat");
  choose(own, "sentence");
  if (stretches.empty()) stretches.push_back({0, dating.date.value_or(kNoDate)});
  const auto shift = dating.date.value_or(kNoDate) - stretches[0].dayZero;
  for (Stretch& stretch : stretches) stretch.dayZero += shift;

  const auto contradict = [&](const char* other, Date date) {
    job.Add(
        Found::TrajectoryDateContradicted,
        {{"date", DateText(*dating.date)}, {"source", dating.source}, {"other", other}, {"otherDate", DateText(date)}});
  };
  if (heartbeat && !IsNear(*sources.heartbeat, stretches, collector)) contradict("heartbeat", *heartbeat);
  if (own && own != dating.date) contradict("sentence", *own);
  return dating;
}

/// Reports dated sentences that contradict each other.
void TellOfDates(const LogDates& dates, Job& job) {
  if (dates.outvoted > 0)
    job.Add(Found::TrajectoryDatesDisagree, {{"count", Count(dates.outvoted)},
                                             {"otherDate", DateText(dates.dates.first)},
                                             {"date", DateText(dates.dates.second)}});
  if (dates.uncertain > 0) job.Add(Found::TrajectoryDateUncertain, {{"count", Count(dates.uncertain)}});
}

/// Reports what the sentences say about their fixes.
void TellOfSentences(const SentenceCounts& counts, Job& job) {
  const auto tell = [&](const FindingKind& kind, std::size_t count) {
    if (count > 0) job.Add(kind, {{"count", Count(count)}});
  };
  const auto of = [&](int figure) {
    const auto found = counts.qualities.find(figure);
    return found == counts.qualities.end() ? 0 : found->second;
  };
  tell(Found::FixTimesCut, counts.truncatedTimes);
  tell(Found::FixesSimulated, of(8));
  tell(Found::FixesEstimated, of(6) + of(7));
  tell(Found::HeightsConverted, counts.convertedHeights);
  for (const auto& [what, count] : counts.lacking)
    job.Add(Found::FixesIncomplete, {{"count", Count(count)}, {"what", what}});
}

/// Receivers without a model of the geoid write 0; a few fixes may be where it is that.
bool HasNoSeparations(const std::vector<tagKVTrajectoryObs>& fixes) {
  constexpr std::size_t kFew = 20;
  return fixes.size() > kFew && std::all_of(fixes.begin(), fixes.end(), [](auto& fix) { return fix.GeoidOffst == 0; });
}

Hundredths HundredthsIn(double seconds) {
  constexpr double kLongest = 86'400;  // longer than a step between times of day
  return Hundredths{seconds > 0 ? static_cast<int>(std::min(seconds, kLongest) * 100) : 0};
}

}  // namespace

Date DateNearest(Instant instant, Hundredths timeOfDay) {
  // Half a day later the day that began last is the nearest one.
  return std::chrono::floor<days>(instant - timeOfDay + hours{12});
}

bool HasFix(const std::filesystem::path& path, Job& job) {
  LineReader reader(path, CtrlZ::IsText, job, "looking for a fix");
  Sentence sentence;
  for (std::string_view line; reader.Next(line);) {
    if (Classify(line, sentence) == SentenceKind::Fix) return true;
  }
  return false;
}

Trajectory ReadTrajectoryFile(const std::filesystem::path& path, const DateSources& sources, double maxGapSeconds,
                              Job& job) {
  LineReader reader(path, CtrlZ::IsText, job, "reading the trajectory");
  SentenceCollector collector(reader);
  for (std::string_view line; reader.Next(line);) collector.Take(line);
  if (!collector.HasFix()) {
    Trajectory none = collector.Finish({}, maxGapSeconds);
    if (sources.mustBeDated) FailWithoutFix(path, none.counts);
    return none;
  }
  LogDates dates = collector.Dates(HundredthsIn(maxGapSeconds));
  TellOfDates(dates, job);
  const Dating dating = ChooseDate(sources, collector, dates.stretches, job);
  if (!dating.date && sources.mustBeDated)
    throw Failure(Utf8(path) + ": nothing tells the date of the fixes; give it with --date YYYY-MM-DD");
  Trajectory trajectory = collector.Finish(dates.stretches, maxGapSeconds);
  if (collector.Elsewhere() > 0) job.Add(Found::FixesContradict, {{"count", Count(collector.Elsewhere())}});
  trajectory.date = dating.date, trajectory.dateSource = dating.source;
  if (HasNoSeparations(trajectory.fixes)) job.Add(Found::SeparationsZero);
  return trajectory;
}

Trajectory InspectedTrajectory(std::vector<tagKVTrajectoryObs>&& fixes, double maxGapSeconds) {
  Trajectory trajectory;
  trajectory.fixes = std::move(fixes);
  trajectory.date = std::chrono::floor<days>(FromFileTime(trajectory.fixes.front().TimeUTC));
  Inspect(maxGapSeconds, trajectory);
  return trajectory;
}

void TellOfTrajectory(const Trajectory& trajectory, const TrajectoryWords& words, Job& job) {
  constexpr std::size_t kNamed = 5;
  constexpr std::size_t kClockAt = 11;  // in "2024-05-01 12:34:56.789"
  const auto& gaps = trajectory.gaps;
  const auto timeOf = [&](Instant time) {
    return trajectory.date ? Value(time) : Value(TimeText(time).substr(kClockAt));
  };
  for (std::size_t i = 0; i < std::min(kNamed, gaps.size()); ++i) {
    job.Add(Found::TrajectoryGap, {{"trajectory", words.name},
                                   {"seconds", Seconds(gaps[i].to - gaps[i].from)},
                                   {"from", timeOf(gaps[i].from)},
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
  if (!trajectory.jumps.empty()) {
    const bool areAlone = trajectory.jumps.size() <= 2 * trajectory.outlying;
    job.Add(areAlone ? Found::FixesOutlying : Found::TrajectoryJumps,
            {{"trajectory", words.name},
             {"count", Count(areAlone ? trajectory.outlying : trajectory.jumps.size())},
             {"from", timeOf(trajectory.jumps[0].from)}});
  }
  if (trajectory.moved > 0)
    job.Add(
        Found::FixesReordered,
        {{"trajectory", words.name}, {"count", Count(trajectory.moved)}, {"seconds", trajectory.largestMoveSeconds}});
  TellOfSentences(trajectory.counts, job);
}

}  // namespace kv::mission

KVMission::Trajectory KVMission::ReadTrajectory(const std::filesystem::path& path, const TrajectoryOptions& options,
                                                Observer& observer) {
  kv::mission::Job job(observer);
  Trajectory trajectory = kv::mission::ReadTrajectoryFile(path, {options.date, {}, true}, options.maxGapSeconds, job);
  kv::mission::TellOfTrajectory(trajectory, kv::mission::kReceiverWords, job);
  return trajectory;
}
