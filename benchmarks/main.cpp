#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "Report.h"

namespace {

void Measure(const std::string& name, Figures& figures) {
  if (figures.IsSettled(name)) return;
  fmt::print(stderr, "  {}\n", name);
  benchmark::RunSpecifiedBenchmarks(&figures, "^" + name + "(/iterations:[0-9]+)?(/real_time)?$");
}

// Measures peers and ours in turn, so that a temporary slowdown of the machine affects all of them.
void MeasureInTurn(const std::vector<Comparison>& comparisons, int rounds, Figures& figures) {
  std::set<int> rows;
  for (const Comparison& comparison : comparisons) rows.insert(comparison.row);
  for (const int row : rows) {
    for (int round = 1; round <= rounds; ++round) {
      fmt::print(stderr, "row {}, round {} of {}\n", row, round, rounds);
      std::set<std::string> done;  // one figure of ours serves several peers
      for (const Comparison& comparison : comparisons) {
        if (comparison.row != row) continue;
        for (const char* name : {comparison.peer, comparison.ours}) {
          if (done.insert(name).second) Measure(name, figures);
        }
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Measures the library against its peers, in turn in one run");
  int rounds = 5;
  std::vector<int> rows;
  std::string jsonFile;
  app.add_option("--rounds", rounds, "measurements of each, of which the median counts")->capture_default_str();
  app.add_option("--rows", rows, "rows of the table, e.g. 1,3; all when left out")->delimiter(',');
  app.add_option("--json", jsonFile, "file for the table as JSON");
  CLI11_PARSE(app, argc, argv);

  std::vector<Comparison> comparisons;
  std::copy_if(kComparisons.begin(), kComparisons.end(), std::back_inserter(comparisons), [&](const Comparison& line) {
    return rows.empty() || std::find(rows.begin(), rows.end(), line.row) != rows.end();
  });
  Figures figures;
  MeasureInTurn(comparisons, rounds, figures);
  return Report(comparisons, figures, jsonFile) ? 0 : 1;
}
