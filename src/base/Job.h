#pragma once

#include <utility>
#include <vector>

#include "base/Findings.h"

namespace kv::mission {

/// Connects an operation to its caller: keeps findings, passes on progress, asks whether to stop. Only for the thread
/// that runs the operation.
class Job {
 public:
  explicit Job(Observer& observer) : observer_(observer) {}
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  void Add(const FindingKind& kind, Values values = {}, Subject subject = {}) {
    findings_.push_back(MakeFinding(kind, std::move(values), std::move(subject)));
    observer_.OnFinding(findings_.back());
  }
  /// Adds a finding about lines of an input, if there are any: "input", "count", `more`, "lines".
  void AddLines(const FindingKind& kind, const char* input, const LineNumbers& lines, const Values& more = {},
                Subject subject = {}) {
    if (lines.empty()) return;
    Values values{{"input", input}, {"count", Count(lines.size())}};
    values.insert(values.end(), more.begin(), more.end());
    values.emplace_back("lines", Named(lines));
    Add(kind, std::move(values), std::move(subject));
  }
  void Report(const Progress& progress) { observer_.OnProgress(progress); }

  bool IsStopped() { return observer_.ShouldStop(); }
  /// @throws Failure (Stopped)
  void ThrowIfStopped() {
    if (IsStopped()) throw Failure("interrupted", Failure::Reason::Stopped);
  }

  const std::vector<Finding>& Findings() const { return findings_; }

 private:
  Observer& observer_;
  std::vector<Finding> findings_;
};

/// Reports the progress of one loop, at every 64th step.
class Meter {
 public:
  /// @param unit  what is counted, in the plural
  Meter(Job& job, const char* what, const char* unit) : job_(job), progress_{what, unit} {}

  /// @param done, total  share of the whole, in any one unit; a total of 0 means that it is not known
  void Step(std::uint64_t done, std::uint64_t total) {
    if ((++progress_.count & 0x3F) == 0) Report(done, total);
  }
  /// For few and slow steps, counted elsewhere.
  void Show(std::uint64_t count, std::uint64_t total) {
    progress_.count = count;
    Report(count, total);
  }

 private:
  void Report(std::uint64_t done, std::uint64_t total) {
    progress_.done = done, progress_.total = total;
    job_.Report(progress_);
  }

  Job& job_;
  Progress progress_;
};

}  // namespace kv::mission
