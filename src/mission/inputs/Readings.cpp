#include "mission/inputs/Readings.h"

#include <cmath>

namespace kv::mission {

void ReadingRanges::Add(std::size_t reading, double value, const std::optional<Instant>& time, std::size_t line) {
  if (!std::isfinite(value)) {
    if (notNumbers_++ == 0) firstLine_ = line;
    return;
  }
  auto& range = ranges_[reading];
  const Extreme extreme{value, time};
  if (!range) range = ReadingRange{names_[reading].key, names_[reading].words, extreme, extreme};
  if (value < range->lowest.value) range->lowest = extreme;
  if (value > range->highest.value) range->highest = extreme;
}

void ReadingRanges::TellOfNotNumbers(const char* input, Job& job) const {
  if (notNumbers_ > 0)
    job.Add(mission::Found::ReadingsNotNumbers,
            {{"input", input}, {"count", Count(notNumbers_)}, {"line", Count(firstLine_)}});
}

std::vector<ReadingRange> ReadingRanges::Found() const {
  std::vector<ReadingRange> found;
  for (const auto& range : ranges_) {
    if (range) found.push_back(*range);
  }
  return found;
}

}  // namespace kv::mission
