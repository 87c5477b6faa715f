#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "Comparisons.h"

/// The benchmarks' measurements so far, by name.
class Figures : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override;

  /// Whether further runs are useless, because one takes long or cannot be done here.
  bool IsSettled(const std::string& name) const;

  bool IsMemory(const std::string& name) const { return memory_.contains(name); }
  /// Why there is no figure; empty when there is one. Begins with `kSkipped` if it cannot be measured here.
  std::string WhyNone(const std::string& name) const;
  double Median(const std::string& name) const;

 private:
  std::map<std::string, std::vector<double>> figures_;  // seconds or bytes
  std::map<std::string, std::string> reasons_;          // of those without a figure
  std::map<std::string, bool> memory_;
};

/// Prints the comparisons as a table and, if a file is named, writes them as JSON.
/// @return whether nothing failed and all goals that can be measured here were met
bool Report(const std::vector<Comparison>& comparisons, const Figures& figures, const std::string& jsonFile);
