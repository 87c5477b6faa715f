#pragma once

#include <string>
#include <vector>

#include "reference/CommandTable.h"

namespace kv::reference {

/// A manual page in roff, to be formatted with the macros of man.
/// @param command  of `commands`
std::string ManPage(const Command& command, const std::vector<Command>& commands);

/// Scripts that complete the command line in a shell.
std::string BashCompletion(const std::vector<Command>& commands);
std::string ZshCompletion(const std::vector<Command>& commands);
std::string FishCompletion(const std::vector<Command>& commands);

/// "kvmission-run", or "kvmission" for kvmission itself.
std::string PageName(const Command& command);

}  // namespace kv::reference
