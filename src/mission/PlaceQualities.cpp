#include <algorithm>
#include <chrono>
#include <cmath>
#include <numeric>
#include <string>
#include <vector>

#include "georef/EventTypes.h"
#include "georef/FixQualities.h"
#include "mission/Steps.h"
#include "platform/CodePage.h"

namespace kv::mission {
namespace {

using Counts = std::array<std::size_t, kPositionQualities>;

std::size_t IndexOf(PositionQuality quality) { return static_cast<std::size_t>(quality); }

/// Photos in order of time, none of them with RTK.
struct Stretch {
  Instant from, to;
  Counts photos{};

  std::size_t Count() const { return std::accumulate(photos.begin(), photos.end(), std::size_t{0}); }
};

/// "FLOAT, MIXED", the most frequent first.
std::string WordsFor(const Counts& photos) {
  std::vector<std::size_t> kinds;
  for (std::size_t i = 0; i < photos.size(); ++i) {
    if (photos[i] > 0) kinds.push_back(i);
  }
  std::stable_sort(kinds.begin(), kinds.end(), [&](std::size_t a, std::size_t b) { return photos[a] > photos[b]; });
  std::string words;
  for (const std::size_t kind : kinds) (words += words.empty() ? "" : ", ") += WordFor(PositionQuality(kind));
  return words;
}

/// Cuts the photos without RTK into stretches; those that are seconds apart are one.
std::vector<Stretch> WithoutRtk(const std::vector<Exposure>& exposures) {
  constexpr std::chrono::seconds kApart{10};
  std::vector<const Exposure*> lost;
  for (const Exposure& exposure : exposures) {
    const PositionQuality quality = exposure.quality.quality;
    if (!exposure.drop && quality != PositionQuality::Fixed && quality != PositionQuality::None)
      lost.push_back(&exposure);
  }
  std::stable_sort(lost.begin(), lost.end(), [](auto* a, auto* b) { return a->time < b->time; });
  std::vector<Stretch> stretches;
  for (const Exposure* exposure : lost) {
    const Instant time = *exposure->time;
    if (stretches.empty() || time - stretches.back().to > kApart) stretches.push_back({time, time});
    stretches.back().to = time;
    ++stretches.back().photos[IndexOf(exposure->quality.quality)];
  }
  return stretches;
}

void TellOfLostRtk(const std::vector<Exposure>& exposures, Job& job) {
  constexpr std::size_t kNamed = 5;
  const auto stretches = WithoutRtk(exposures);
  std::size_t photos = 0;
  for (std::size_t i = 0; i < stretches.size(); ++i) {
    const Stretch& stretch = stretches[i];
    if (i >= kNamed) {
      photos += stretch.Count();
      continue;
    }
    job.Add(Found::RtkLost, {{"from", stretch.from},
                             {"to", stretch.to},
                             {"count", Count(stretch.Count())},
                             {"quality", WordsFor(stretch.photos)}});
  }
  if (stretches.size() > kNamed)
    job.Add(Found::RtkLostMore, {{"count", Count(stretches.size() - kNamed)}, {"photos", Count(photos)}});
}

void Add(float sigma, AccuracyRange& range) {
  if (std::isnan(sigma)) return;
  const double metres = std::round(double{sigma} * 1e4) / 1e4;  // floats have digits that the file has not
  range.least = range.known == 0 ? metres : std::min(range.least, metres);
  range.largest = std::max(range.largest, metres);
  ++range.known;
}

bool HasFixed(const std::vector<FixQuality>& qualities) {
  return std::any_of(qualities.begin(), qualities.end(),
                     [](const FixQuality& quality) { return quality.quality == PositionQuality::Fixed; });
}

}  // namespace

void QualifyExposures(const Trajectory& trajectory, TrajectoryIndex& index, Mission& mission, Job& job) {
  const bool isInFile = mission.timestamps && trajectory.fixes.empty();
  for (std::size_t i = 0; i < mission.exposures.size(); ++i) {
    Exposure& exposure = mission.exposures[i];
    if (!exposure.time || !IsPlaced(exposure.event)) continue;
    exposure.quality =
        isInFile ? mission.timestamps->qualities[i] : QualityAt(exposure.event.AdjGpsSec, index, trajectory);
    WidenAnsi(WordFor(exposure.quality.quality), exposure.event.POSQuality);  // without memory for a copy
    if (exposure.drop) continue;
    ++mission.placeQuality.photos[IndexOf(exposure.quality.quality)];
    ++mission.placeQuality.attitudes[static_cast<std::size_t>(exposure.attitudeQuality)];
    Add(exposure.quality.horizontalSigma, mission.placeQuality.horizontal);
    Add(exposure.quality.verticalSigma, mission.placeQuality.vertical);
  }
  if (HasFixed(isInFile ? mission.timestamps->qualities : trajectory.qualities)) TellOfLostRtk(mission.exposures, job);
}

}  // namespace kv::mission
