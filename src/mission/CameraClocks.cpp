#include "mission/CameraClocks.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>

#include "georef/EventTypes.h"
#include "platform/FileNames.h"
#include "text/Numbers.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr std::size_t kFewTimes = 12;  // too few to tell anything of a clock
constexpr std::size_t kCandidatesNamed = 5;

using Matches = std::vector<PhotoMatch>;

bool IsCertain(const ClockSegment& clock) { return clock.verdict == ClockVerdict::Resolved; }

/// What has to be added to the times of photos.
double OffsetOf(const ClockSegment& clock) { return -clock.offsetSeconds; }

/// "-2.00, 4.00"
std::string ListOf(const std::vector<double>& offsets) {
  std::string text;
  for (std::size_t i = 0; i < std::min(kCandidatesNamed, offsets.size()); ++i)
    text += fmt::format("{}{:.2f}", i == 0 ? "" : ", ", offsets[i]);
  return text + (offsets.size() > kCandidatesNamed ? ", ..." : "");
}

/// The best offset of each stretch that is not certain, and its rivals.
std::vector<double> CandidatesOf(const ClockEstimate& estimate) {
  std::vector<double> offsets;
  for (const ClockSegment& clock : estimate.clocks) {
    if (IsCertain(clock)) continue;
    offsets.push_back(OffsetOf(clock));
    for (const auto& rival : clock.rivals) offsets.push_back(-rival.offsetSeconds);
  }
  return offsets;
}

ClockState StateOf(const ClockEstimate& estimate) {
  switch (estimate.verdict) {
    case ClockVerdict::Resolved:
      return ClockState::Certain;
    case ClockVerdict::Partial:
      return ClockState::PartlyCertain;
    case ClockVerdict::Ambiguous:
      return ClockState::Ambiguous;
    default:
      return ClockState::NoMatch;
  }
}

ClockCheck CheckOf(const ClockEstimate& estimate, const CameraTimes& times, const PhotoFolder& folder) {
  constexpr double kMillion = 1e6;
  ClockCheck check;
  check.state = StateOf(estimate);
  const auto nameOf = [&](std::size_t photo) { return folder.photos[times.photoAt[photo]].name; };
  for (const ClockSegment& clock : estimate.clocks) {
    if (IsCertain(clock))
      check.stretches.push_back({nameOf(clock.firstPhoto), nameOf(clock.endPhoto - 1), OffsetOf(clock),
                                 clock.offsetSigma, clock.drift * kMillion});
  }
  check.candidates = CandidatesOf(estimate);
  return check;
}

/// Whether a clock is not the one in use, whatever neighbours it pairs.
bool IsOff(const ClockStretch& clock, double inUse) { return std::abs(clock.offsetSeconds - inUse) > kPairingRange; }

std::size_t CountPaired(const Matches& matches) {
  return static_cast<std::size_t>(
      std::count_if(matches.begin(), matches.end(), [](const PhotoMatch& match) { return match.event; }));
}

/// Photos that a certain clock pairs with one event, and other matches with another or none.
std::size_t CountMoved(const ClockEstimate& estimate, const Matches& others) {
  std::size_t moved = 0;
  for (std::size_t k = 0; k < others.size(); ++k)
    moved += estimate.photos[k].certain && others[k].event != estimate.photos[k].event;
  return moved;
}

/// Pairs of a certain clock. Those that are not certain themselves need the support of other matches.
Matches CertainPairs(const ClockEstimate& estimate, const Matches& others) {
  Matches pairs = estimate.photos;
  for (std::size_t k = 0; k < pairs.size(); ++k) {
    if (!pairs[k].certain && others[k].event != pairs[k].event) pairs[k] = {};
  }
  return pairs;
}

/// How far an offset of an estimate is from one in use. Estimates take stamps of whole seconds for truncated; with a
/// camera, or a program that names photos, that rounds them, the same clock is half a cell further.
double DistanceOf(double candidate, double inUse, const StampCell& cell) {
  const double half = cell.width >= 1 ? cell.width / 2 : 0;
  return std::min(std::abs(candidate - inUse), std::abs(candidate + half - inUse));
}

struct NearPairs {
  Matches pairs;
  bool areAsMany = true;  ///< as any candidate pairs
};

/// Pairs by that candidate of an ambiguous clock which is near an offset: an offset by hand is good to a second only. Of
/// several, the one that leaves the fewest photos alone counts.
NearPairs PairNear(double offset, const CameraTimes& times, const std::vector<double>& candidates) {
  constexpr double kTolerance = 0.1, kDrift = 1e-4;  // seconds; share of the time
  const double tolerance = kTolerance + kDrift * (times.events.back() - times.events.front());
  const auto pairsBy = [&](double candidate) {
    return PairByClock(times.events, times.photos, times.cell, -candidate, tolerance);
  };
  NearPairs found;
  std::size_t most = 0, paired = 0;
  double nearest = kPairingRange;
  for (const double candidate : candidates) {
    Matches pairs = pairsBy(candidate);
    const std::size_t count = CountPaired(pairs);
    most = std::max(most, count);
    const double distance = DistanceOf(candidate, offset, times.cell);
    if (distance > kPairingRange || count < paired || (count == paired && distance >= nearest)) continue;
    found.pairs = std::move(pairs), paired = count, nearest = distance;
  }
  if (found.pairs.empty()) found.pairs = pairsBy(offset), paired = CountPaired(found.pairs);
  found.areAsMany = paired >= most;
  return found;
}

/// The number at the end of a name, before the extension.
std::optional<int> NumberOf(const std::wstring& name) {
  const std::size_t end = std::min(name.rfind(L'.'), name.size());
  const std::size_t before = end == 0 ? name.npos : name.find_last_not_of(L"0123456789", end - 1);
  std::string digits;
  for (std::size_t i = before == name.npos ? 0 : before + 1; i < end; ++i) digits += static_cast<char>(name[i]);
  return Digits(digits);
}

/// Says what the engine thinks of one camera's clock.
class Teller {
 public:
  Teller(const Camera& camera, const CameraTimes& times, Job& job) : camera_(camera), times_(times), job_(job) {}

  void ClockIsOff(const ClockCheck& check, const ClockStretch& clock, double inUse) const {
    Values values{
        {"moved", Count(check.moved)}, {"photos", Count(times_.photos.size())},        {"offset", clock.offsetSeconds},
        {"sigma", clock.sigmaSeconds}, {"driftPpm", std::round(clock.driftPpm) + 0.0}, {"used", inUse}};
    if (check.stretches.size() == 1) return Tell(Found::CameraClockOff, std::move(values));
    values.emplace_back("photo", Utf8(clock.firstPhoto));
    Tell(Found::CameraClockChanges, std::move(values));
  }
  /// A clock that is off by a day can be that of another flight over the same plan.
  void OtherDays(const std::vector<ClockStretch>& stretches) const {
    constexpr double kHalfDay = 43'200;
    for (const ClockStretch& stretch : stretches) {
      if (std::abs(stretch.offsetSeconds) > kHalfDay)
        return Tell(Found::CameraClockDaysOff, {{"offset", stretch.offsetSeconds}});
    }
  }
  void Ambiguous(const FindingKind& kind, const ClockCheck& check, double inUse) const {
    Tell(kind, {{"used", inUse}, {"candidates", ListOf(check.candidates)}});
  }
  /// Without times only the photos' numbers can tell that one is missing.
  void Order() const {
    const auto& photos = camera_.folder->photos;
    for (std::size_t i = 1; i < photos.size() && photos.size() == camera_.read; ++i) {
      const auto before = NumberOf(photos[i - 1].name), number = NumberOf(photos[i].name);
      if (!before || !number || *number <= *before + 1) continue;
      return Tell(Found::PairingByOrderNumbers,
                  {{"missing", std::int64_t{*number - *before - 1}}, {"photo", Utf8(photos[i].name)}});
    }
    Tell(Found::PairingByOrderUnchecked, {});
  }
  void CountsOnly(const FindingKind& kind) const {
    Tell(kind, {{"photos", Count(times_.photos.size())},
                {"events", Count(times_.events.size())},
                {"used", camera_.offset.seconds}});
  }
  void Uncertain(const Matches& pairs) const {
    std::size_t count = 0, least = 0;
    for (std::size_t k = 0; k < pairs.size(); ++k) {
      if (!pairs[k].event || pairs[k].certain) continue;
      if (count++ == 0 || pairs[k].probability < pairs[least].probability) least = k;
    }
    if (count > 0)
      Tell(Found::PairsUncertain,
           {{"count", Count(count)}, {"photo", NameOf(least)}, {"probability", pairs[least].probability}});
  }
  void Tell(const FindingKind& kind, Values values) const {
    values.insert(values.begin(), {"camera", camera_.number});
    job_.Add(kind, std::move(values), {.file = camera_.folder->path, .camera = camera_.number});
  }

 private:
  std::string NameOf(std::size_t photo) const { return Utf8(camera_.folder->photos[times_.photoAt[photo]].name); }

  const Camera& camera_;
  const CameraTimes& times_;
  Job& job_;
};

/// Cameras number on from 9999 with 1: by name the photos after that stand first.
void PutNumbersInOrder(const PhotoFolder& folder, CameraTimes& times) {
  const auto numberAt = [&](std::size_t k) { return NumberOf(folder.photos[times.photoAt[k]].name); };
  const std::size_t count = times.photoAt.size();
  if (count < 2 || numberAt(0).value_or(2) > 1 || numberAt(count - 1) != 9999) return;
  std::size_t begin = 0;
  for (std::size_t k = 1; k < count; ++k) {
    if (times.photos[k] < times.photos[k - 1]) begin = k;
  }
  const auto shift = static_cast<std::ptrdiff_t>(begin);
  std::rotate(times.photos.begin(), times.photos.begin() + shift, times.photos.end());
  std::rotate(times.photoAt.begin(), times.photoAt.begin() + shift, times.photoAt.end());
}

}  // namespace

CameraTimes TimesOf(const std::vector<std::size_t>& own, const SystemEvents& events, const PhotoFolder& folder,
                    Instant origin) {
  CameraTimes times;
  for (std::size_t i = 0; i < own.size(); ++i) {
    if (HasTime(events[own[i]])) times.eventAt.push_back(i);
  }
  const auto timeOf = [&](std::size_t at) { return FromFileTime(events[own[at]].TimeUTC); };
  std::stable_sort(times.eventAt.begin(), times.eventAt.end(),
                   [&](std::size_t a, std::size_t b) { return timeOf(a) < timeOf(b); });
  for (const std::size_t at : times.eventAt) times.events.push_back(Seconds(timeOf(at) - origin));
  for (std::size_t k = 0; k < folder.photos.size(); ++k) {
    if (!folder.photos[k].time) continue;
    times.photoAt.push_back(k);
    times.photos.push_back(Seconds(*folder.photos[k].time - origin));
  }
  PutNumbersInOrder(folder, times);
  times.cell = StampCellOf(times.photos);
  return times;
}

ClockJudge::ClockJudge(const CameraTimes& times) : times_(&times) {
  if (!times.events.empty() && !times.photos.empty()) estimate_ = EstimateClock(times.events, times.photos, times.cell);
}

Matches ClockJudge::Pairs(bool acceptDoubt, Camera& camera, Job& job) const {
  const CameraTimes& times = *times_;
  if (times.events.empty() || times.photos.empty()) return {};
  const Teller tell(camera, times, job);
  const ClockOffset wanted = camera.offset;
  const Matches none(times.photos.size());
  const Matches given =
      wanted.find ? none : PairByClock(times.events, times.photos, times.cell, -wanted.seconds, kPairingRange);
  ClockCheck& check = camera.clock.emplace(CheckOf(estimate_, times, *camera.folder));
  check.moved = wanted.find ? 0 : CountMoved(estimate_, given);
  const Matches& inDoubt = acceptDoubt ? given : none;

  if (!check.stretches.empty()) {
    if (wanted.find) tell.OtherDays(check.stretches);
    if (wanted.find && check.stretches.size() == 1) camera.offset.seconds = check.stretches[0].offsetSeconds;
    const auto off = std::find_if(check.stretches.begin(), check.stretches.end(),
                                  [&](const ClockStretch& clock) { return IsOff(clock, wanted.seconds); });
    if (!wanted.find && off != check.stretches.end()) {
      tell.ClockIsOff(check, *off, wanted.seconds);
      return inDoubt;
    }
    const Matches certain = CertainPairs(estimate_, given);
    tell.Uncertain(certain);
    if (check.state == ClockState::PartlyCertain)
      tell.Tell(Found::CameraClockPartlyCertain,
                {{"paired", Count(CountPaired(certain))}, {"photos", Count(times.photos.size())}});
    return certain;
  }
  if (wanted.find) {
    tell.Ambiguous(Found::CameraClockNotFound, check, 0);
    return none;
  }
  const std::size_t pairs = std::min(times.events.size(), times.photos.size());
  if (pairs < kFewTimes && CountPaired(given) == pairs) {
    check.state = ClockState::Unchecked;
    tell.CountsOnly(Found::CameraClockUnchecked);
    return given;
  }
  if (check.state == ClockState::Ambiguous) {
    NearPairs found = PairNear(wanted.seconds, times, check.candidates);
    const bool isGood =
        found.areAsMany &&
        CheckOffset(estimate_, times.events, times.photos, times.cell, -wanted.seconds, kPairingRange).isAllowed;
    tell.Ambiguous(isGood ? Found::CameraClockAmbiguous : Found::CameraClockContradicted, check, wanted.seconds);
    return isGood ? std::move(found.pairs) : inDoubt;
  }
  tell.CountsOnly(Found::PhotosOfOtherEvents);
  return inDoubt;
}

void ClockJudge::CheckOrder(const std::vector<std::optional<std::size_t>>& events, Camera& camera, Job& job) const {
  const CameraTimes& times = *times_;
  const Teller tell(camera, times, job);
  if (times.photos.empty() && std::any_of(events.begin(), events.end(), [](auto& event) { return event.has_value(); }))
    tell.Order();
  if (times.events.empty() || times.photos.empty()) return;
  ClockCheck& check = camera.clock.emplace(CheckOf(estimate_, times, *camera.folder));
  for (std::size_t k = 0; k < times.photos.size(); ++k) {
    const PhotoMatch& match = estimate_.photos[k];
    check.moved += match.certain && events[times.photoAt[k]] != times.eventAt[*match.event];
  }
  if (check.moved > 0)
    tell.Tell(Found::PairingByOrderShifted, {{"moved", Count(check.moved)}, {"photos", Count(times.photos.size())}});
}

}  // namespace kv::mission
