#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "Comparisons.h"

/// What the benchmarks have measured so far, by their names.
class Figures : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override;

  /// Whether a further run would tell nothing new: it takes long, or cannot be done here.
  bool IsSettled(const std::string& name) const;

  bool IsMemory(const std::string& name) const { return memory_.contains(name); }
  /// Why there is no figure; empty when there is one. What cannot be measured here begins with `kSkipped`.
  std::string WhyNone(const std::string& name) const;
  double Median(const std::string& name) const;

 private:
  std::map<std::string, std::vector<double>> figures_;  // seconds or bytes
  std::map<std::string, std::string> reasons_;          // of those without a figure
  std::map<std::string, bool> memory_;
};

/// Prints the comparisons of which there are figures as a table, and writes them as JSON when a file is named.
/// @return whether nothing failed, and all goals that can be measured here were met
bool Report(const std::vector<Comparison>& comparisons, const Figures& figures, const std::string& jsonFile);
