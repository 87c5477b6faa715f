#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "Comparison.h"
#include "Measures.h"
#include "Table.h"

namespace {

struct {
  int number;
  Row (*make)(const Plan& plan);
} const kRows[] = {
    {1, Scanning},
    {2, StrictNumbers},
    {3, Exporting},
    {4, Locating},
    {5, Grading},
    {6, Transforming},
    {7, Pairing},
    {8, FormingStations},
    {9, WholeMission},
    {10, Growing},
    {11, GeotaggingByTrack},
    {12, WritingGeoPackage},
    {13, WritingReport},
    {14, Geotagging},
};

/// A comparison takes rounds until its time is up, but neither fewer nor more than these.
struct Rounds {
  int fewest, fewestOfSlow, most;
  double seconds;
};
constexpr Rounds kAllRounds = {5, 3, 25, 10}, kQuickRounds = {3, 3, 5, 2};

double CoresIdle() {
  const CoresLeft cores;
  std::this_thread::sleep_for(std::chrono::seconds(1));
  return cores.Since();
}

/// Measures both sides. Which one begins alternates, so that a drift of the machine's speed favours neither.
Round MeasureRound(const Comparison& comparison, bool isPeerFirst) {
  Round round;
  round.coresLeft = comparison.idleCores > 0 ? CoresIdle() : 0;
  const CoresLeft cores;
  if (isPeerFirst) round.peer = comparison.peer.measure();
  round.ours = comparison.ours.measure();
  if (!isPeerFirst) round.peer = comparison.peer.measure();
  round.coresLeft = comparison.idleCores > 0 ? std::min(round.coresLeft, cores.Since()) : cores.Since();
  round.isPeerFirst = isPeerFirst;
  return round;
}

Result Measure(int row, const Comparison& comparison, const Rounds& limits) {
  Result result{row, comparison, {}, {}, {}};
  if (!comparison.program.empty() && !HasProgram(comparison.program)) {
    result.skipped = comparison.program + " is not installed";
    return result;
  }
  try {
    const double start = ClockSeconds();
    const auto count = [&] { return static_cast<int>(result.rounds.size()); };
    const int fewest = comparison.isSlow ? limits.fewestOfSlow : limits.fewest;
    while (count() < fewest || (count() < limits.most && ClockSeconds() - start < limits.seconds))
      result.rounds.push_back(MeasureRound(comparison, count() % 2 == 0));
  } catch (const std::exception& failure) {
    result.failure = failure.what();
  }
  return result;
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app("Measures the library against its peers, in turn in one run");
  Plan plan;
  std::vector<int> rows;
  std::string jsonFile;
  int fewest = 0;
  app.add_flag("--quick", plan.isQuick, "two minutes: fewer rounds, smaller missions, no slow peers");
  app.add_option("--rows", rows, "rows of the table, e.g. 1,3; all when left out")->delimiter(',');
  app.add_option("--rounds", fewest, "measurements of each case, at least");
  app.add_option("--json", jsonFile, "file for every round as JSON");
  CLI11_PARSE(app, argc, argv);
  Rounds rounds = plan.isQuick ? kQuickRounds : kAllRounds;
  if (fewest > 0) rounds = {fewest, fewest, std::max(fewest, rounds.most), rounds.seconds};

  Table table(plan, CoresIdle());
  for (const auto& [number, make] : kRows) {
    if (!rows.empty() && std::find(rows.begin(), rows.end(), number) == rows.end()) continue;
    fmt::print(stderr, "row {}: making its inputs\n", number);
    for (const Comparison& comparison : make(plan)) {
      if (plan.isQuick && comparison.isSlow) {
        table.LeaveOut(number, comparison);
        continue;
      }
      fmt::print(stderr, "  {}: {}\n", comparison.what, comparison.peerName);
      table.Add(Measure(number, comparison, rounds));
    }
  }
  return table.Close(jsonFile) ? 0 : 1;
} catch (const std::exception& failure) {
  fmt::print(stderr, "benchmarks: {}\n", failure.what());
  return 1;
}
