#pragma once

#include <string>
#include <vector>

#include "commands/Commands.h"

namespace kv::reference {

/// What a shell can offer for a value.
enum class Offer { Nothing, Words, WordList, Files, Folders };

/// An option or, without names, a positional argument.
struct Option {
  std::vector<std::string> names;  ///< "-o", "--output"
  std::string value;               ///< "FOLDER"; empty for a flag
  std::string help;                ///< with range and default, if any
  std::string group;
  Offer offer = Offer::Nothing;
  std::vector<std::string> words;
  bool isRequired = false, repeats = false;

  bool IsPositional() const { return names.empty(); }
};

struct Command {
  std::string name;  ///< empty for kvmission itself
  std::string help, footer;
  std::vector<Option> options;
};

/// The command line as CLI11 parses it: kvmission itself, then its commands.
std::vector<Command> CommandTable(const CLI::App& app);

}  // namespace kv::reference
