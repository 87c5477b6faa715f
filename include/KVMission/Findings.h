#pragma once
/// @file
/// What operations have to tell, and how a caller follows and stops them.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "KVMission/Values.h"

namespace KVMission {

enum class Severity {
  Note,     ///< what was done
  Warning,  ///< something was left out, cut or unusual
  Doubt,    ///< results may be wrong
  Failure,  ///< something could not be done
};

/// "note", "warning", "doubt", "failure"
KVMISSION_API const char* WordFor(Severity severity);

/// What a finding is about; parts that do not apply are empty.
struct Subject {
  std::filesystem::path file = {};
  std::size_t line = 0;    ///< from 1; 0 for none
  int camera = 0;          ///< 1 or 2; 0 for none
  std::string photo = {};  ///< name
};

using Value = std::variant<std::int64_t, double, Instant, std::string>;

/// A message of an operation.
struct Finding {
  std::string code;  ///< "trajectory-gap"; never changes its meaning
  Severity severity = Severity::Note;
  Subject subject;
  std::vector<std::pair<std::string, Value>> values;
  std::string text;  ///< one sentence, made from code and values
};

/// Progress of an operation.
struct Progress {
  const char* what;         ///< "reading the trajectory"
  const char* unit;         ///< what is counted, in the plural: "lines"
  std::uint64_t count = 0;  ///< units done
  std::uint64_t done = 0;   ///< share of `total` that is done, in the same unit as it
  std::uint64_t total = 0;  ///< 0 when it is not known
};

/// Follows an operation. Its functions are called in the thread that called the operation.
class Observer {
 public:
  virtual ~Observer() = default;
  virtual void OnFinding(const Finding&) {}
  virtual void OnProgress(const Progress&) {}
  virtual bool ShouldStop() { return false; }  ///< true ends the operation with a `Failure` of `Stopped`
};

/// What ends an operation early.
class KVMISSION_API Failure : public std::runtime_error {
 public:
  enum class Reason {
    Failed,
    WrongUsage,  ///< settings that are invalid or do not go together
    Stopped,     ///< by the observer
  };
  explicit Failure(const std::string& sentence, Reason reason = Reason::Failed)
      : std::runtime_error(sentence), reason_(reason) {}
  Reason Why() const { return reason_; }

 private:
  Reason reason_;
};

}  // namespace KVMission
