#pragma once

#include <KVMission.h>

#include <chrono>
#include <string>

namespace kv::command {

enum class ExitCode {
  Good = 0,
  Failed = 1,
  WrongUsage = 2,
  Unmatched = 3,  ///< finished, but something was left unmatched or dropped
  Doubtful = 4,   ///< finished, but results may be wrong
  Interrupted = 130,
};
ExitCode CodeFor(KVMission::Failure::Reason reason);

enum class Verbosity { Quiet, Normal, Verbose };

/// Tells the user on standard error what an operation finds and how far it is, and stops it on an interrupt.
class Messages : public KVMission::Observer {
 public:
  explicit Messages(Verbosity verbosity);
  ~Messages() override { ClearProgress(); }

  void OnFinding(const KVMission::Finding& finding) override;
  void OnProgress(const KVMission::Progress& progress) override;
  bool ShouldStop() override;

  /// Removes the progress line, before anything else is printed.
  void ClearProgress();

 private:
  using Clock = std::chrono::steady_clock;

  Verbosity verbosity_;
  bool showsProgress_;
  bool isDrawn_ = false;
  const char* what_ = nullptr;
  std::uint64_t count_ = 0;  // at the latest look
  Clock::time_point start_, lastDrawn_;
};

/// A progress bar with count, rate and time left, cut to a width.
std::string ProgressLine(const KVMission::Progress& progress, double seconds, std::size_t width);

/// From here on Ctrl-C and a request to terminate no longer end the process at once, but stop the operation at work.
void CatchInterrupts();
bool Interrupted();
/// @throws KVMission::Failure (Stopped) after an interrupt
void ThrowIfInterrupted();

/// Asks the user at the terminal.
/// @param what  for the message without one: "photos are rotated in place"
/// @throws KVMission::Failure (WrongUsage) when there is nobody to ask
bool Agrees(const std::string& what, const std::string& question);

/// A path as it is, for programs; on a terminal what people can read.
std::string PathForOutput(const std::filesystem::path& path);

/// Shows text on standard error, without a line end. Whether it gets there is nothing to stop for.
void ShowText(const std::string& text);

/// An error, which no verbosity silences.
void SayError(const std::string& sentence);

}  // namespace kv::command
