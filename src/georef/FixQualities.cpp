#include "georef/FixQualities.h"

#include <algorithm>
#include <array>

namespace kv::mission {
namespace {

/// NaN, which is unknown, if either is.
float LargerKnown(float a, float b) { return a != a ? a : b != b ? b : std::max(a, b); }

PositionQuality KindBetween(PositionQuality a, PositionQuality b) {
  if (a == b) return a;
  return a == PositionQuality::None || b == PositionQuality::None ? PositionQuality::None : PositionQuality::Mixed;
}

}  // namespace

const char* WordFor(PositionQuality quality) {
  constexpr std::array<const char*, kPositionQualities> kWords{"NONE",  "SINGLE",    "DGPS",      "FLOAT",
                                                               "FIXED", "ESTIMATED", "SIMULATED", "MIXED"};
  static_assert(std::all_of(kWords.begin(), kWords.end(),
                            [](std::string_view word) { return word.size() <= kLongestQualityWord.size(); }));
  return kWords[static_cast<std::size_t>(quality)];
}

FixQuality QualityBetween(const FixQuality& a, const FixQuality& b) {
  FixQuality between;
  between.quality = KindBetween(a.quality, b.quality);
  between.satellites = std::min(a.satellites, b.satellites);
  between.hdop = a.hdop == 0 || b.hdop == 0 ? 0 : std::max(a.hdop, b.hdop);
  between.horizontalSigma = LargerKnown(a.horizontalSigma, b.horizontalSigma);
  between.verticalSigma = LargerKnown(a.verticalSigma, b.verticalSigma);
  return between;
}

FixQuality QualityAt(double adjGpsSeconds, TrajectoryIndex& index, const Trajectory& trajectory) {
  const auto* const to = index.PairEndAt(adjGpsSeconds);
  if (!to || trajectory.qualities.size() != trajectory.fixes.size()) return {};
  const auto* const quality = trajectory.qualities.data() + (to - trajectory.fixes.data());
  if (adjGpsSeconds == to->AdjGpsSec) return quality[0];
  if (adjGpsSeconds == to[-1].AdjGpsSec) return quality[-1];
  return QualityBetween(quality[-1], quality[0]);
}

}  // namespace kv::mission
