#pragma once

#include <stdexcept>
#include <string>

namespace kv::mission {

enum class ExitCode {
  Good = 0,
  Failed = 1,
  WrongUsage = 2,
  Unmatched = 3,  ///< finished, but something was left unmatched or dropped
  Interrupted = 130,
};

/// What ends the command early: a sentence for the user and the exit code that goes with it.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& sentence, ExitCode code = ExitCode::Failed)
      : std::runtime_error(sentence), code_(code) {}
  ExitCode Code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace kv::mission
