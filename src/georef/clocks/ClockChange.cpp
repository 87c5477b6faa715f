#include "georef/clocks/ClockChange.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace kv::clocks {
namespace {

// Scores of a change at each place, evaluated where the change may lie: on a raster, then near its highest places.
class ChangeScores {
 public:
  ChangeScores(const Sequences& sequences, const Clock& before, const Clock& after)
      : sequences_(sequences),
        clocks_{{before, 0}, {after, 1}},
        runOf_(sequences.PhotoCount(), 1),
        scores_(std::max(1u, Below(sequences.PhotoCount(), 1)), kUnknown) {}

  ChangeRange Range(Index evaluations) {
    constexpr double kRaster = 8;  // nats that a place may be above its neighbours on the raster
    const Index places = static_cast<Index>(scores_.size()), step = std::max(1u, places / evaluations);
    for (Index place = 0; place < places; place += step) Evaluate(place);
    const double threshold = std::ranges::max(scores_) - kAboutAsGood - kRaster;
    for (Index place = 0; place < places; ++place) {
      if (scores_[place] != kUnknown) continue;
      const auto first = scores_.begin() + Below(place, step + 1);
      const auto end = scores_.begin() + std::min(places, place + step + 2);
      if (*std::max_element(first, end) >= threshold) Evaluate(place);
    }
    const double enough = std::ranges::max(scores_) - kAboutAsGood;
    const auto isPossible = [&](double score) { return score >= enough; };
    const auto first = std::find_if(scores_.begin(), scores_.end(), isPossible);
    const auto last = std::find_if(scores_.rbegin(), scores_.rend(), isPossible);
    // Place 0 is a change before photo 1.
    return {static_cast<Index>(first - scores_.begin()) + 1, static_cast<Index>(scores_.rend() - last)};
  }

 private:
  static constexpr double kUnknown = -std::numeric_limits<double>::infinity();

  void Evaluate(Index place) {
    std::fill(runOf_.begin(), runOf_.begin() + place + 1, 0);
    std::fill(runOf_.begin() + place + 1, runOf_.end(), 1);
    scores_[place] = Divide(sequences_, runOf_, clocks_, {kChangeCosts.inRun, kChangeCosts.inRun}).score;
  }

  const Sequences& sequences_;
  RunClock clocks_[2];
  std::vector<Index> runOf_;
  std::vector<double> scores_;  // of a change after each photo but the last
};

}  // namespace

ChangeRange WhereChanged(const Sequences& sequences, const Clock& before, const Clock& after, Index near,
                         Index evaluations) {
  const Index photos = sequences.PhotoCount();
  for (Index reach = 600;; reach *= 2) {
    const Index first = Below(near, reach), end = std::min(photos, near + reach);
    const Sequences part = sequences.Part(first, end);
    const ChangeRange range = ChangeScores(part, before, after).Range(evaluations);
    const bool isInside = (first == 0 || range.first > 1) && (end == photos || range.last < end - first - 1);
    if (isInside) return {first + range.first, first + range.last};
  }
}

}  // namespace kv::clocks
