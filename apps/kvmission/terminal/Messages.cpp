#include "terminal/Messages.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <iostream>

#include "terminal/Console.h"

namespace kv::command {
namespace {

using KVMission::Failure;

constexpr std::chrono::milliseconds kBetweenDraws{100};
constexpr double kBarWidth = 24;

/// Set by the signal handler, which may run in any thread.
std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

}  // namespace

ExitCode CodeFor(Failure::Reason reason) {
  switch (reason) {
    case Failure::Reason::WrongUsage:
      return ExitCode::WrongUsage;
    case Failure::Reason::Stopped:
      return ExitCode::Interrupted;
    default:
      return ExitCode::Failed;
  }
}

Messages::Messages(Verbosity verbosity)
    : verbosity_(verbosity), showsProgress_(verbosity != Verbosity::Quiet && IsTerminal(stderr)) {}

void Messages::OnFinding(const KVMission::Finding& finding) {
  using KVMission::Severity;
  const bool isNote = finding.severity == Severity::Note;
  if (verbosity_ == Verbosity::Quiet || (isNote && verbosity_ != Verbosity::Verbose)) return;
  ClearProgress();
  constexpr std::array kWords{"", "warning: ", "doubt: ", "failure: "};
  ShowText(fmt::format("kvmission: {}{}\n", kWords.at(static_cast<std::size_t>(finding.severity)),
                       KVMission::Visible(finding.text)));
}

void Messages::OnProgress(const KVMission::Progress& progress) {
  if (!showsProgress_) return;
  const auto now = Clock::now();
  const bool isNew = what_ != progress.what || progress.count < count_;
  if (isNew) what_ = progress.what, start_ = lastDrawn_ = now;
  count_ = progress.count;
  if (now - lastDrawn_ < kBetweenDraws) return;
  lastDrawn_ = now;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  ShowText('\r' + ProgressLine(progress, seconds, TerminalWidth() - 1) + "\x1b[K");
  isDrawn_ = true;
}

bool Messages::ShouldStop() { return Interrupted(); }

void Messages::ClearProgress() {
  if (isDrawn_) ShowText("\r\x1b[K");
  isDrawn_ = false;
}

std::string ProgressLine(const KVMission::Progress& progress, double seconds, std::size_t width) {
  std::string line = fmt::format("{} {} {}, {:.0f}/s", progress.what, progress.count, progress.unit,
                                 static_cast<double>(progress.count) / seconds);
  if (progress.done > 0 && progress.total > 0) {
    const double share = std::min(1.0, static_cast<double>(progress.done) / static_cast<double>(progress.total));
    line += fmt::format(" [{:<{}}] {:.0f} s left", std::string(static_cast<std::size_t>(share * kBarWidth), '#'),
                        static_cast<int>(kBarWidth), seconds / share - seconds);
  }
  return line.substr(0, width);
}

void CatchInterrupts() {
  InstallInterruptHandler([](int) { interrupted = true; });
}

bool Interrupted() { return interrupted; }

void ThrowIfInterrupted() {
  if (Interrupted()) throw Failure("interrupted", Failure::Reason::Stopped);
}

bool Agrees(const std::string& what, const std::string& question) {
  if (!IsTerminal(stdin)) throw Failure(what + "; confirm with --yes", Failure::Reason::WrongUsage);
  ShowText(KVMission::Visible(question) + " [y/N] ");
  std::string answer;
  std::getline(std::cin, answer);
  ThrowIfInterrupted();
  return answer == "y" || answer == "Y" || answer == "yes";
}

std::string PathForOutput(const std::filesystem::path& path) {
  const std::u8string bytes = path.u8string();
  return IsTerminal(stdout) ? KVMission::Visible(KVMission::Utf8(path)) : std::string(bytes.begin(), bytes.end());
}

void ShowText(const std::string& text) { std::fputs(text.c_str(), stderr); }

void SayError(const std::string& sentence) {
  ShowText(fmt::format("kvmission: error: {}\n", KVMission::Visible(sentence)));
}

}  // namespace kv::command
