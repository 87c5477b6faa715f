#include "Table.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace {

constexpr const char* kLine = "| {:>2} | {:46} | {:36} | {:9} | {:>10} | {:>10} | {:>20} | {:>18} | {} |\n";
constexpr double kCoreTolerance = 0.1;  // what a system always does

std::string NameOf(By by) { return by == By::Processor ? "processor" : by == By::Wall ? "wall" : "memory"; }

std::string FigureText(double figure, By by) {
  if (by == By::Memory && figure < 1e4) return fmt::format("{:.0f} B", figure);
  if (by == By::Memory) return fmt::format("{:.1f} MiB", figure / (1024 * 1024));
  if (figure >= 1) return fmt::format("{:.2f} s", figure);
  if (figure >= 1e-3) return fmt::format("{:.2f} ms", figure * 1e3);
  return fmt::format("{:.2f} us", figure * 1e6);
}

/// Three digits, but whole numbers whole.
std::string RatioText(double ratio) {
  return ratio >= 100 ? fmt::format("{:.0f}", ratio) : fmt::format("{:.3g}", ratio);
}

std::string GoalText(const Goal& goal, By by) {
  if (goal.value == 0) return "none";
  const char* meaning = !goal.isUpperBound ? "as fast" : by == By::Memory ? "as much" : "as long";
  return fmt::format("{} {}x {}", goal.isUpperBound ? "<=" : ">=", RatioText(goal.value), meaning);
}

double Median(const std::vector<Round>& rounds, double Round::*figure) {
  std::vector<double> values;
  for (const Round& round : rounds) values.push_back(round.*figure);
  std::nth_element(values.begin(), values.begin() + std::ssize(values) / 2, values.end());
  return values[values.size() / 2];
}

std::optional<Quartiles> RatiosOf(const std::vector<Round>& rounds, const Goal& goal) {
  std::vector<double> ratios;
  for (const Round& round : rounds) ratios.push_back(goal.RatioOf(round.peer, round.ours));
  return QuartilesOf(ratios);
}

std::string RatiosText(const std::vector<Round>& rounds, const Goal& goal) {
  if (const auto ratios = RatiosOf(rounds, goal))
    return fmt::format("{} ({}-{})", RatioText(ratios->median), RatioText(ratios->lower), RatioText(ratios->upper));
  return fmt::format("{}, few rounds", RatioText(goal.RatioOf(rounds.back().peer, rounds.back().ours)));
}

/// @param why  receives the reason of a verdict that the ratios do not show
Verdict VerdictOf(const Result& result, std::string& why) {
  why = !result.failure.empty() ? result.failure : result.skipped;
  if (!result.failure.empty()) return Verdict::Failed;
  if (!result.skipped.empty()) return Verdict::Skipped;
  const Comparison& comparison = result.comparison;
  std::vector<Round> quiet;
  for (const Round& round : result.rounds) {
    if (round.coresLeft >= comparison.idleCores - kCoreTolerance) quiet.push_back(round);
  }
  const Verdict verdict = Judge(RatiosOf(quiet, comparison.goal), comparison.goal);
  if (quiet.size() < 3)
    why =
        quiet.size() == result.rounds.size()
            ? "fewer than three rounds"
            : fmt::format("{:.1f} of {:g} cores idle", Median(result.rounds, &Round::coresLeft), comparison.idleCores);
  return verdict;
}

std::string TextOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::Met:
      return "met";
    case Verdict::NotMet:
      return "NOT MET";
    case Verdict::Noisy:
      return "noisy";
    case Verdict::Failed:
      return "FAILED";
    case Verdict::None:
      return "no goal";
    case Verdict::Skipped:
      return "skipped";
  }
  return {};
}

nlohmann::json JsonOf(const Result& result) {
  const Comparison& comparison = result.comparison;
  const Goal& goal = comparison.goal;
  nlohmann::json line{{"row", result.row},
                      {"case", comparison.what},
                      {"peer", comparison.peerName},
                      {"by", NameOf(comparison.ours.by)},
                      {"unit", comparison.ours.by == By::Memory ? "bytes" : "seconds"},
                      {"ratio", goal.isUpperBound ? "ours / peer" : "peer / ours"},
                      {"rounds", nlohmann::json::array()}};
  if (goal.value > 0) line["goal"] = {{goal.isUpperBound ? "atMost" : "atLeast", goal.value}};
  for (const Round& round : result.rounds)
    line["rounds"].push_back({{"peer", round.peer},
                              {"ours", round.ours},
                              {"ratio", goal.RatioOf(round.peer, round.ours)},
                              {"first", round.isPeerFirst ? "peer" : "ours"},
                              {"coresLeft", round.coresLeft}});
  if (const auto ratios = RatiosOf(result.rounds, goal))
    line.update({{"lowerQuartile", ratios->lower}, {"median", ratios->median}, {"upperQuartile", ratios->upper}});
  if (comparison.idleCores > 0) line["idleCoresNeeded"] = comparison.idleCores;
  return line;
}

}  // namespace

Table::Table(const Plan& plan, double idleCores) {
  const unsigned cores = std::thread::hardware_concurrency();
  json_ = {{"cores", cores}, {"coresIdleBefore", idleCores}, {"quick", plan.isQuick}};
  json_["comparisons"] = nlohmann::json::array();
  fmt::print("{:.1f} of {} cores were idle before.\n\n", idleCores, cores);
  fmt::print(kLine, "#", "case", "compared with", "by", "its figure", "ours", "ratio (quartiles)", "goal", "verdict");
  fmt::print(kLine, "--", "---", "---", "---", "---:", "---:", "---:", "---:", "---");
}

void Table::Add(const Result& result) {
  const Comparison& comparison = result.comparison;
  const By by = comparison.ours.by;
  std::string why;
  const Verdict verdict = VerdictOf(result, why);
  ++counts_[TextOf(verdict)];
  const bool isMeasured = verdict != Verdict::Failed && verdict != Verdict::Skipped;
  const auto figure = [&](double Round::*side) {
    return isMeasured ? FigureText(Median(result.rounds, side), by) : "";
  };
  fmt::print(kLine, result.row, comparison.what, comparison.peerName, NameOf(by), figure(&Round::peer),
             figure(&Round::ours), isMeasured ? RatiosText(result.rounds, comparison.goal) : "",
             GoalText(comparison.goal, by), TextOf(verdict) + (why.empty() ? "" : ": " + why));
  std::fflush(stdout);
  json_["comparisons"].push_back(JsonOf(result));
  json_["comparisons"].back().update({{"verdict", TextOf(verdict)}, {"why", why}});
}

void Table::LeaveOut(int row, const Comparison& comparison) {
  leftOut_.push_back(fmt::format("{} {}: {}", row, comparison.what, comparison.peerName));
}

bool Table::Close(const std::string& jsonFile) {
  fmt::print("\n");
  for (const auto& [verdict, count] : counts_) fmt::print("{}: {}\n", verdict, count);
  if (!leftOut_.empty()) fmt::print("Left out because it is slow:\n- {}\n", fmt::join(leftOut_, "\n- "));
  json_["leftOut"] = leftOut_;
  if (!jsonFile.empty() && !(std::ofstream(jsonFile) << json_.dump(2) << '\n'))
    throw std::runtime_error(jsonFile + " cannot be written");
  return !counts_.contains(TextOf(Verdict::Failed)) && !counts_.contains(TextOf(Verdict::NotMet));
}
