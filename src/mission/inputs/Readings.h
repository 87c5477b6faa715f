#pragma once

#include <optional>
#include <vector>

#include "base/Job.h"

/// Readings of a sensor log and their ranges, in the units of the log.
namespace kv::mission {

struct ReadingName {
  const char* key;    ///< for programs
  const char* words;  ///< for people
};

/// The ranges of a log's readings, each of which it may have or not.
class ReadingRanges {
 public:
  /// @param names  outlive the ranges
  explicit ReadingRanges(std::vector<ReadingName> names) : names_(std::move(names)), ranges_(names_.size()) {}

  /// A reading that is not a finite number is counted and left out.
  /// @param line  of the file
  void Add(std::size_t reading, double value, const std::optional<Instant>& time, std::size_t line);

  /// @param input  "housekeeping log"
  void TellOfNotNumbers(const char* input, Job& job) const;

  std::vector<ReadingRange> Found() const;

 private:
  std::vector<ReadingName> names_;
  std::vector<std::optional<ReadingRange>> ranges_;
  std::size_t notNumbers_ = 0, firstLine_ = 0;
};

}  // namespace kv::mission
