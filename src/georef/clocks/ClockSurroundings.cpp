#include <algorithm>
#include <cmath>
#include <iterator>

#include "georef/clocks/ClockSearch.h"

namespace kv::clocks {
namespace {

constexpr double kGridDrift = 150e-6;  // s per s to either side

// Offsets over more than a cell, drifts as far as they matter over the mission. A long mission or one whose offset is
// known well has few clocks left: a small grid around its own.
Grid SurroundingGrid(const Sequences& sequences, const Hypothesis& centre) {
  const double halfSpan = std::max(1.0, 0.5 * sequences.EventSpan());
  const Index photos = sequences.PhotoCount();
  if (photos > 3000 || (photos > 1500 && centre.offsetSigma < 0.05)) {
    return {centre.clock.offset, 0.03, 5, centre.clock.drift, 0.02 / halfSpan, 3};
  }
  Grid grid{centre.clock.offset, 0.031, 41};
  if (halfSpan * kGridDrift <= 0.015) return grid;
  grid.drifts = 2 * static_cast<Index>(std::min(5.0, std::ceil(kGridDrift * halfSpan / 0.035))) + 1;
  grid.driftStep = 2 * kGridDrift / (grid.drifts - 1);
  return grid;
}

// Adds the prior of the drift to grid scores.
void AddDriftCosts(const Grid& grid, std::vector<double>& scores) {
  for (Index j = 0; j < grid.drifts; ++j) {
    for (Index i = 0; i < grid.offsets; ++i) scores[j * grid.offsets + i] -= DriftCost(grid.Drift(j));
  }
}

// The cells of a grid that none of their eight neighbours tops, the best first.
std::vector<Index> LocalMaxima(const Grid& grid, const std::vector<double>& scores) {
  std::vector<Index> maxima;
  for (Index j = 0; j < grid.drifts; ++j) {
    for (Index i = 0; i < grid.offsets; ++i) {
      bool isMaximum = true;
      for (Index y = Below(j, 1); y <= std::min(grid.drifts - 1, j + 1); ++y) {
        for (Index x = Below(i, 1); x <= std::min(grid.offsets - 1, i + 1); ++x) {
          isMaximum = isMaximum && scores[y * grid.offsets + x] <= scores[j * grid.offsets + i];
        }
      }
      if (isMaximum) maxima.push_back(j * grid.offsets + i);
    }
  }
  std::ranges::stable_sort(maxima, [&](Index a, Index b) { return scores[a] > scores[b]; });
  return maxima;
}

}  // namespace

std::vector<Hypothesis> ClockSearch::WithSurroundings(std::vector<Hypothesis> hypotheses, std::size_t most) {
  if (!sequences_.IsCoarse() || hypotheses.empty()) return hypotheses;
  std::vector<Hypothesis> found;
  std::vector<double> seen;
  for (const Hypothesis& centre : hypotheses) {
    const double offset = centre.clock.offset;
    if (std::ranges::any_of(seen, [&](double other) { return std::abs(offset - other) < 0.5; })) continue;
    seen.push_back(offset);
    AddSurroundings(centre, found);
    if (seen.size() >= most) break;
  }
  std::ranges::move(found, std::back_inserter(hypotheses));
  KeepDistinct(hypotheses);
  return hypotheses;
}

void ClockSearch::AddSurroundings(const Hypothesis& centre, std::vector<Hypothesis>& found) {
  constexpr std::size_t kMaxima = 12;
  constexpr double kWorthALook = 40;                                        // nats behind the best of the grid
  constexpr double kSpread = 0.018, kFineSpread = 0.012, kFitReach = 0.15;  // seconds
  const Grid grid = SurroundingGrid(sequences_, centre);
  std::vector<double> scores = Scores(grid, kSpread);
  AddDriftCosts(grid, scores);
  std::vector<Index> maxima = LocalMaxima(grid, scores);
  if (maxima.size() > kMaxima) maxima.resize(kMaxima);
  for (const Index at : maxima) {
    if (scores[at] < scores[maxima.front()] - kWorthALook) break;
    const Grid fine{grid.Offset(at % grid.offsets), grid.offsetStep / 2, 5,
                    grid.Drift(at / grid.offsets),  grid.driftStep / 2,  grid.drifts > 1 ? 3u : 1u};
    std::vector<double> fineScores = Scores(fine, kFineSpread);
    AddDriftCosts(fine, fineScores);
    const Index best = static_cast<Index>(std::ranges::max_element(fineScores) - fineScores.begin());
    const double offset = fine.Offset(best % fine.offsets), drift = fine.Drift(best / fine.offsets);
    found.push_back(InWindow(At(offset, drift)));
    found.push_back(InWindow(Refine({offset, drift}, kFitReach)));
  }
}

}  // namespace kv::clocks
