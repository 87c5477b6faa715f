#pragma once

#include <cmath>
#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

#include "KVRecords.h"
#include "time/FileTimes.h"

/// The rule of exposure stations word by word. `MasterTick` numbers the events, from 1.
namespace baseline {

/// The numbers of both cameras' events, 0 for none, and the station's ticks.
using StationOutline = std::tuple<int, int, std::uint64_t>;

inline std::vector<StationOutline> StationsOf(const std::vector<tagKVSystemEvent>& events, double tolerance) {
  std::vector<const tagKVSystemEvent*> candidates;
  for (const auto& event : events) {
    if (event.Type == 2) candidates.push_back(&event);
  }
  std::vector<bool> used(candidates.size());
  std::vector<StationOutline> outlines;
  for (std::size_t a = 0; a < candidates.size(); ++a) {
    if (used[a]) continue;
    const std::uint64_t ticksA = kv::Ticks(candidates[a]->TimeUTC);
    double best = 3.4028234663852886e38;
    std::size_t partner = a;
    for (std::size_t b = 0; b < candidates.size(); ++b) {
      if (b == a || used[b]) continue;
      const std::uint64_t ticksB = kv::Ticks(candidates[b]->TimeUTC);
      const double d = static_cast<double>(ticksA > ticksB ? ticksA - ticksB : ticksB - ticksA) / 10'000'000;
      if (d < best) std::tie(best, partner) = std::pair(d, b);
    }
    const bool isPair = partner != a && std::fabs(tolerance) > best;
    int first = static_cast<int>(candidates[a]->MasterTick);
    int second = isPair ? static_cast<int>(candidates[partner]->MasterTick) : 0;
    std::uint64_t ticks = ticksA;
    if (isPair) {
      const std::uint64_t ticksB = kv::Ticks(candidates[partner]->TimeUTC);
      ticks = (ticksA < ticksB ? ticksA : ticksB) + static_cast<std::uint64_t>(best * 0.5 / 0.0000001);
    }
    if (candidates[a]->CameraID != 1) std::swap(first, second);
    outlines.emplace_back(first, second, ticks);
    used[a] = true;
    if (isPair) used[partner] = true;
  }
  return outlines;
}

}  // namespace baseline
