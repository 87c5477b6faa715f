#include <algorithm>
#include <cmath>
#include <optional>

#include "mission/CameraClocks.h"
#include "time/LeapSeconds.h"

namespace kv::mission {
namespace {

std::size_t CountCertain(const ClockEstimate& estimate) {
  return static_cast<std::size_t>(std::count_if(estimate.photos.begin(), estimate.photos.end(),
                                                [](const PhotoMatch& match) { return match.certain; }));
}

/// The only clock of a camera, if it is certain.
std::optional<ClockSegment> OnlyClock(const ClockEstimate& estimate) {
  const bool isOnly = estimate.verdict == ClockVerdict::Resolved && estimate.clocks.size() == 1;
  return isOnly ? std::optional(estimate.clocks[0]) : std::nullopt;
}

/// How far two certain clocks are apart, in units of what clocks that were set together may be.
/// @return  nothing when one of them is not known
std::optional<double> ApartOf(const ClockEstimate& one, const ClockEstimate& two) {
  constexpr double kSigmas = 3, kSetTogether = 0.002;  // seconds
  const auto a = OnlyClock(one), b = OnlyClock(two);
  if (!a || !b) return std::nullopt;
  return std::abs(a->offsetSeconds - b->offsetSeconds) /
         (kSetTogether + kSigmas * std::hypot(a->offsetSigma, b->offsetSigma));
}

/// Photos in the folder of the other camera fit its events, and hardly their own; or the clocks agree to milliseconds
/// only when the folders change places.
void TellWhenSwapped(const ClockJudge& one, const ClockJudge& two, Job& job) {
  constexpr double kTogether = 1, kSurelyNot = 3;
  const auto apart = ApartOf(one.Estimate(), two.Estimate());
  if (apart && *apart <= kTogether) return;
  const auto estimate = [](const CameraTimes& events, const CameraTimes& photos) {
    return EstimateClock(events.events, photos.photos, photos.cell);
  };
  const ClockEstimate first = estimate(two.Times(), one.Times()), second = estimate(one.Times(), two.Times());
  const auto fitsBetter = [](const ClockEstimate& other, const ClockEstimate& own) {
    return OnlyClock(other) && CountCertain(other) > 2 * CountCertain(own);
  };
  const bool fitBetter = fitsBetter(first, one.Estimate()) && fitsBetter(second, two.Estimate());
  const bool agreeBetter = apart > kSurelyNot && ApartOf(first, second).value_or(kSurelyNot) <= kTogether;
  if (!fitBetter && !agreeBetter) return;
  job.Add(Found::CamerasSwapped, {{"count", Count(CountCertain(first) + CountCertain(second))},
                                  {"photos", Count(first.photos.size() + second.photos.size())},
                                  {"own", Count(CountCertain(one.Estimate()) + CountCertain(two.Estimate()))}});
}

/// A clock that lags by as much as GPS time is ahead of UTC, and none that has the events' time: it may be the events that
/// are ahead.
void TellWhenInGpsTime(const std::vector<ClockJudge>& judges, std::int64_t leapSeconds, Job& job) {
  constexpr double kTolerance = 0.75;  // of stamps of whole seconds
  std::size_t fitting = 0;
  for (const ClockJudge& judge : judges) {
    const auto clock = OnlyClock(judge.Estimate());
    if (!clock) continue;
    if (std::abs(clock->offsetSeconds) <= kTolerance) return;  // this camera has the events' time
    fitting += std::abs(clock->offsetSeconds + static_cast<double>(leapSeconds)) <= kTolerance;
  }
  if (fitting > 0) job.Add(Found::EventsInGpsTime, {{"seconds", leapSeconds}, {"count", Count(fitting)}});
}

}  // namespace

void CompareCameras(const std::vector<ClockJudge>& judges, const Settings& settings, Instant origin, Job& job) {
  const bool haveTimes = std::all_of(judges.begin(), judges.end(),
                                     [](const ClockJudge& judge) { return !judge.Estimate().photos.empty(); });
  if (judges.size() == 2 && haveTimes) TellWhenSwapped(judges[0], judges[1], job);
  const auto isGiven = [](const ClockOffset& offset) { return !offset.find && offset.seconds != 0; };
  if (settings.eventOffsetSeconds == 0 && !isGiven(settings.camera1Offset) && !isGiven(settings.camera2Offset))
    TellWhenInGpsTime(judges, LeapSecondsAt(origin), job);
}

}  // namespace kv::mission
