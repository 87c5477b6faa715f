#include "mission/inputs/FixDates.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <span>

namespace kv::mission {
namespace {

using std::chrono::days;

/// Where the time of a log may jump between two dated sentences.
struct Break {
  std::int64_t pause = 0;     // hundredths of a second
  std::size_t fix = 0;        // the first one after it
  std::size_t uncertain = 0;  // fixes between this break and others of about the same length
};

/// Looks through the steps of time from one dated sentence to the next.
Break LongestPause(const std::vector<RunningTime>& fixes, const DatedSentence& from, const DatedSentence& to) {
  Break longest;
  const auto step = [&](std::size_t fix) {
    const std::int64_t before = (fix == from.fixes ? from.time : fixes[fix - 1]).Count();
    return std::abs((fix == to.fixes ? to.time : fixes[fix]).Count() - before);
  };
  for (std::size_t fix = from.fixes; fix <= to.fixes; ++fix) {
    if (step(fix) > longest.pause) longest = {step(fix), fix};
  }
  for (std::size_t fix = from.fixes; fix <= to.fixes; ++fix) {
    const std::size_t between = fix < longest.fix ? longest.fix - fix : fix - longest.fix;
    if (2 * step(fix) > longest.pause) longest.uncertain = std::max(longest.uncertain, between);
  }
  return longest;
}

/// Lets the sentences of a stretch vote; of dates with as many votes the first counts.
Stretch Vote(std::size_t firstFix, std::span<const DatedSentence> sentences, LogDates& dates) {
  std::map<Date, std::size_t> votes;
  Stretch stretch{firstFix, sentences.front().DayZero()};
  for (const auto& sentence : sentences) ++votes[sentence.DayZero()];
  for (const auto& sentence : sentences) {
    if (votes[sentence.DayZero()] > votes[stretch.dayZero]) stretch.dayZero = sentence.DayZero();
  }
  for (const auto& sentence : sentences) {
    if (sentence.DayZero() == stretch.dayZero) continue;
    if (dates.outvoted++ == 0) dates.dates = {sentence.date, stretch.dayZero + days{sentence.time.day}};
  }
  return stretch;
}

}  // namespace

LogDates DatesOf(const std::vector<RunningTime>& fixes, const std::vector<DatedSentence>& sentences,
                 Hundredths longestPause) {
  LogDates dates;
  std::size_t first = 0, firstFix = 0;  // of the stretch
  const auto close = [&](std::size_t end) {
    dates.stretches.push_back(Vote(firstFix, std::span(sentences).subspan(first, end - first), dates));
  };
  for (std::size_t i = 1; i < sentences.size(); ++i) {
    if (sentences[i].DayZero() == sentences[i - 1].DayZero()) continue;
    const Break jump = LongestPause(fixes, sentences[i - 1], sentences[i]);
    if (jump.pause <= longestPause.count()) continue;
    close(i);
    first = i, firstFix = jump.fix;
    dates.uncertain += jump.uncertain;
  }
  if (!sentences.empty()) close(sentences.size());
  return dates;
}

}  // namespace kv::mission
