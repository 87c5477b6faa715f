#include "georef/clocks/ClockCandidates.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kv::clocks {
namespace {

constexpr Index kSlicePhotos = 800;
// Bounds the memory for votes to 128 MiB: over weeks of events the bins become wider.
constexpr double kMaxBins = 1 << 24;
// Peaks kept whatever their height, and the height, relative to the highest, that others need.
constexpr std::size_t kAlwaysKept = 8;
constexpr double kLeastHeight = 0.7;

struct Peak {
  double offset;  // seconds
  double height;  // votes relative to the slice's highest peak
};

// The times as bins, each bin once: items in one bin tell nothing more.
std::vector<Index> Bins(std::span<const double> times, double origin, double width) {
  std::vector<Index> bins;
  for (const double time : times) {
    const Index bin = static_cast<Index>(std::floor((time - origin) / width + 0.5));
    if (bins.empty() || bins.back() != bin) bins.push_back(bin);
  }
  return bins;
}

// Ascending stamps around the middle of a slice: few enough for the number of votes, short enough for the drift.
std::span<const double> Slice(std::span<const double> stamps, double middle) {
  const Index count = static_cast<Index>(stamps.size());
  const Index at = static_cast<Index>(middle * count);
  Index first = Below(at, kSlicePhotos / 2), end = std::min(count, at + kSlicePhotos / 2);
  while (stamps[at] - stamps[first] > kSliceSeconds / 2) ++first;
  while (stamps[end - 1] - stamps[at] > kSliceSeconds / 2) --end;
  return stamps.subspan(first, end - first);
}

// Highest bins first, none within `radius` bins of a higher one; of a plateau the middle. Takes the counts apart.
std::vector<Peak> Peaks(std::vector<int>& counts, Index radius, std::size_t most) {
  std::vector<Peak> peaks;
  const Index size = static_cast<Index>(counts.size());
  int highest = 0;
  while (peaks.size() < most) {
    const Index first = static_cast<Index>(std::max_element(counts.begin(), counts.end()) - counts.begin());
    const int count = counts[first];
    if (peaks.empty()) highest = count;
    if (highest < 2 || 3 * count < highest) break;
    Index last = first;
    while (last + 1 < size && counts[last + 1] == count && last - first < 4) ++last;
    peaks.push_back({0.5 * (first + last), static_cast<double>(count) / highest});
    std::fill(counts.begin() + Below(first, radius), counts.begin() + std::min(size, last + radius + 1), 0);
  }
  return peaks;
}

// Every event and photo vote for the offsets that put the event into the photo's cell.
std::vector<Peak> Vote(const Sequences& sequences, std::span<const double> stamps, double bin, double radius,
                       std::size_t most) {
  const std::span<const double> events = sequences.events;
  const double reach = std::max(sequences.cell.width / 2, bin);  // half the width of what a photo votes for
  bin = std::max(bin, (sequences.EventSpan() + stamps.back() - stamps.front() + 2 * reach) / kMaxBins);
  const std::vector<Index> eventBins = Bins(events, events.front(), bin);
  const std::vector<Index> photoBins = Bins(stamps, stamps.front(), bin);
  if (photoBins.size() < 3) return {};
  constexpr Index kMargin = 4;
  const Index base = eventBins.back() + kMargin;
  const Index width = std::max(1u, static_cast<Index>(std::lround(2 * reach / bin)));
  std::vector<int> counts(photoBins.back() + base + width + 2 * kMargin);
  // Each vote is for `width` bins: counted in the first of them, then summed up.
  // In blocks of events, so that the counts stay in the processor's cache.
  constexpr std::size_t kBlock = 1024;
  for (std::size_t first = 0; first < eventBins.size(); first += kBlock) {
    const auto block = std::span(eventBins).subspan(first, std::min(kBlock, eventBins.size() - first));
    for (const Index photo : photoBins) {
      int* const zero = &counts[photo + base];
      for (const Index event : block) ++zero[-std::ptrdiff_t{event}];
    }
  }
  std::vector<int> sums(counts.size());
  int sum = 0;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    sum += counts[i] - (i >= width ? counts[i - width] : 0);
    sums[i] = sum;
  }
  std::vector<Peak> peaks = Peaks(sums, static_cast<Index>(std::lround(radius / bin)), most);
  const double origin = sequences.CellMiddle(stamps.front()) - reach - events.front();
  for (Peak& peak : peaks) peak.offset = origin + (peak.offset - base) * bin;
  return peaks;
}

}  // namespace

std::vector<double> CandidateOffsets(const Sequences& sequences, std::size_t most) {
  const double interval = sequences.MedianInterval();
  const double bin = sequences.IsCoarse() ? 0.25 : std::clamp(interval / 8, 0.02, 0.25);
  const double radius =
      std::clamp(0.5 * interval, sequences.IsCoarse() ? 0.3 : 0.1, 1.0);  // seconds between candidates
  const std::span<const double> stamps = sequences.stamps;
  std::vector<Peak> peaks;
  const auto add = [&](std::span<const double> slice) {
    if (slice.size() < 3) return;
    const std::vector<Peak> found = Vote(sequences, slice, bin, radius, most);
    peaks.insert(peaks.end(), found.begin(), found.end());
  };
  if (stamps.size() <= kSlicePhotos && stamps.back() - stamps.front() <= kSliceSeconds) {
    add(stamps);
  } else {
    for (const double middle : kSliceMiddles) add(Slice(stamps, middle));
  }
  std::ranges::stable_sort(peaks, std::greater{}, &Peak::height);
  std::vector<double> offsets;
  for (const Peak& peak : peaks) {
    if (offsets.size() >= most) break;
    if (offsets.size() >= kAlwaysKept && peak.height < kLeastHeight) break;
    const bool isNew =
        std::ranges::none_of(offsets, [&](double offset) { return std::abs(offset - peak.offset) <= radius; });
    if (isNew) offsets.push_back(peak.offset);
  }
  return offsets;
}

}  // namespace kv::clocks
