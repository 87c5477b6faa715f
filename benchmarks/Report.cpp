#include "Report.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>

#include "Measures.h"

namespace {

constexpr double kLongSeconds = 10;  // what takes longer is run once
constexpr double kMiB = 1024 * 1024;

std::string FigureText(double figure, bool isMemory) {
  if (isMemory) return fmt::format("{:.1f} MiB", figure / kMiB);
  if (figure >= 1) return fmt::format("{:.2f} s", figure);
  if (figure >= 1e-3) return fmt::format("{:.2f} ms", figure * 1e3);
  return fmt::format("{:.2f} us", figure * 1e6);
}

}  // namespace

void Figures::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    const std::string& name = run.run_name.function_name;
    if (run.error_occurred) {
      reasons_[name] = run.error_message;
      continue;
    }
    const auto bytes = run.counters.find("bytes"), seconds = run.counters.find("seconds");
    if (bytes != run.counters.end() && bytes->second == 0) {
      reasons_[name] = std::string(kSkipped) + "memory cannot be counted";
    } else if (bytes != run.counters.end()) {
      memory_[name] = true;
      figures_[name].push_back(bytes->second);
    } else if (seconds != run.counters.end()) {
      figures_[name].push_back(seconds->second);
    } else {
      figures_[name].push_back(run.real_accumulated_time / static_cast<double>(run.iterations));
    }
  }
}

bool Figures::IsSettled(const std::string& name) const {
  if (reasons_.contains(name)) return true;
  const auto found = figures_.find(name);
  return found != figures_.end() && !IsMemory(name) && found->second.front() > kLongSeconds;
}

std::string Figures::WhyNone(const std::string& name) const {
  if (const auto found = reasons_.find(name); found != reasons_.end()) return found->second;
  return figures_.contains(name) ? "" : "FAILED: no benchmark " + name;
}

double Figures::Median(const std::string& name) const {
  std::vector<double> sorted = figures_.at(name);
  std::sort(sorted.begin(), sorted.end());
  return sorted[sorted.size() / 2];
}

bool Report(const std::vector<Comparison>& comparisons, const Figures& figures, const std::string& jsonFile) {
  constexpr const char* kLine = "| {:>2} | {:44} | {:40} | {:>11} | {:>11} | {:>8} | {:>8} | {:7} |\n";
  fmt::print(kLine, "#", "case", "peer or limit", "peer", "ours", "ratio", "goal", "met");
  fmt::print(kLine, "--", "---", "---", "---:", "---:", "---:", "---:", "---");
  bool areAllMet = true;
  nlohmann::json rows = nlohmann::json::array();
  for (const auto& [row, what, peerName, peer, ours, goal] : comparisons) {
    nlohmann::json line{{"row", row}, {"case", what}, {"peer", peerName}, {"goal", goal}};
    std::string reason = figures.WhyNone(ours);
    if (reason.empty()) reason = figures.WhyNone(peer);
    if (!reason.empty()) {
      areAllMet = areAllMet && reason.starts_with(kSkipped);
      fmt::print("| {:>2} | {:44} | {:40} | {}\n", row, what, peerName, reason);
      line["noFigure"] = reason;
    } else {
      const double peerFigure = figures.Median(peer), ourFigure = figures.Median(ours);
      const double ratio = peerFigure / ourFigure;
      const bool isMet = ratio >= goal, isMemory = figures.IsMemory(ours);
      areAllMet = areAllMet && isMet;
      fmt::print(kLine, row, what, peerName, FigureText(peerFigure, isMemory), FigureText(ourFigure, isMemory),
                 fmt::format("{:.3g}", ratio), fmt::format(">= {:.3g}", goal), isMet ? "yes" : "NOT MET");
      const char* unit = isMemory ? "bytes" : "seconds";
      line.update({{"peerFigure", peerFigure}, {"ourFigure", ourFigure}, {"unit", unit}});
      line.update({{"ratio", ratio}, {"met", isMet}});
    }
    rows.push_back(std::move(line));
  }
  if (!jsonFile.empty()) std::ofstream(jsonFile) << rows.dump(2) << '\n';
  return areAllMet;
}
