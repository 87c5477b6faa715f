#include "report/TrackThinning.h"

#include <algorithm>
#include <array>

namespace kv::mission {
namespace {

void KeepExtremes(const std::vector<tagKVTrajectoryObs>& fixes, std::size_t begin, std::size_t end,
                  std::vector<bool>& kept) {
  constexpr std::array kValues{&tagKVTrajectoryObs::Latitude, &tagKVTrajectoryObs::Longitude,
                               &tagKVTrajectoryObs::Altitude};
  kept[begin] = true;
  for (const auto value : kValues) {
    std::size_t least = begin, largest = begin;
    for (std::size_t i = begin; i < end; ++i) {
      if (fixes[i].*value < fixes[least].*value) least = i;
      if (fixes[i].*value > fixes[largest].*value) largest = i;
    }
    kept[least] = kept[largest] = true;
  }
}

}  // namespace

std::vector<std::size_t> FixesToDraw(const Trajectory& trajectory, const std::vector<std::size_t>& stretches,
                                     std::size_t most) {
  constexpr std::size_t kKeptOfRun = 7;
  const auto& [fixes, qualities] = std::tie(trajectory.fixes, trajectory.qualities);
  std::vector<bool> kept(fixes.size(), fixes.size() <= most);
  if (fixes.size() > most) {
    const std::size_t run = kKeptOfRun * fixes.size() / most + 1;
    for (std::size_t begin = 0; begin < fixes.size(); begin += run)
      KeepExtremes(fixes, begin, std::min(begin + run, fixes.size()), kept);
    for (const std::size_t first : stretches) kept[first] = kept[first - (first > 0)] = true;
    for (std::size_t i = 1; i < qualities.size(); ++i) {
      if (qualities[i].quality != qualities[i - 1].quality) kept[i] = kept[i - 1] = true;
    }
    kept.back() = true;
  }
  std::vector<std::size_t> indexes;
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (kept[i]) indexes.push_back(i);
  }
  return indexes;
}

}  // namespace kv::mission
