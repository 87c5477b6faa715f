#include "Log.h"

#include <cstdio>

#include "System.h"

namespace kv::mission {

void Log::AddWarning(std::string sentence) {
  if (verbosity_ != Verbosity::Quiet) Say("warning: ", sentence);
  warnings_.push_back(std::move(sentence));
}

void Log::Say(const char* label, const std::string& sentence) {
  fmt::print(stderr, "kvmission: {}{}\n", label, sentence);
}

bool Log::ShowsProgress() const { return verbosity_ != Verbosity::Quiet && StandardErrorIsTerminal(); }

std::string Counted(std::size_t count, const char* noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

void SayError(const std::string& sentence) { fmt::print(stderr, "kvmission: error: {}\n", sentence); }

}  // namespace kv::mission
