#include <fmt/format.h>

#include <string_view>

#include "reference/Pages.h"

namespace kv::reference {
namespace {

using command::ExitCode;

struct Meaning {
  ExitCode code;
  const char* text;
};
constexpr Meaning kExitCodes[] = {
    {ExitCode::Good, "Everything worked."},
    {ExitCode::Failed, "Failed; the message says why."},
    {ExitCode::WrongUsage, "Wrong usage: the command line or mission.toml."},
    {ExitCode::Unmatched, "Finished, but something was dropped or left unmatched."},
    {ExitCode::Doubtful, "Finished, but results may be wrong."},
    {ExitCode::Interrupted, "Interrupted; nothing unfinished is left."},
};

/// Text that roff shows as it is: escape characters, hyphens, and dots and quotes at the start of a line.
std::string Roff(std::string_view text) {
  std::string roff = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
  for (const char c : text) {
    if (c == '\\')
      roff += "\\e";
    else if (c == '-')
      roff += "\\-";
    else
      roff += c;
  }
  return roff;
}

std::string Usage(const Command& command) {
  if (command.name.empty()) return ".B kvmission\n.I COMMAND\n.RI [ OPTION ...]\n";
  std::string usage = fmt::format(".B kvmission {}\n.RI [ OPTION ...]\n", command.name);
  for (const Option& option : command.options) {
    if (!option.IsPositional()) continue;
    const bool isBare = option.isRequired && !option.repeats;
    usage += isBare ? fmt::format(".I {}\n", option.value)
                    : fmt::format(".RI {} {} {}\n", option.isRequired ? "\\&" : "[", option.value,
                                  std::string(option.repeats ? "..." : "") + (option.isRequired ? "" : "]"));
  }
  return usage;
}

std::string Entry(const Option& option) {
  std::string heading;
  for (const std::string& name : option.names)
    heading += (heading.empty() ? "" : ", ") + ("\\fB" + Roff(name) + "\\fR");
  if (!option.value.empty()) heading += (heading.empty() ? "\\fI" : " \\fI") + Roff(option.value) + "\\fR";
  const char* const required = option.isRequired && !option.IsPositional() ? " (required)" : "";
  return fmt::format(".TP\n{}\n{}{}\n", heading, Roff(option.help), required);
}

std::string Entries(const Command& command) {
  std::string arguments, options, group = "Options";
  for (const Option& option : command.options) {
    if (option.IsPositional()) {
      arguments += Entry(option);
      continue;
    }
    if (option.group != group) options += fmt::format(".SS {}\n", Roff(group = option.group));
    options += Entry(option);
  }
  return (arguments.empty() ? "" : ".SH ARGUMENTS\n" + arguments) + ".SH OPTIONS\n" + options;
}

std::string CommandList(const std::vector<Command>& commands) {
  std::string list = ".SH COMMANDS\n";
  for (const Command& command : commands) {
    if (!command.name.empty())
      list += fmt::format(".TP\n.BR {} (1)\n{}\n", Roff(PageName(command)), Roff(command.help));
  }
  return list;
}

std::string SeeAlso(const Command& command, const std::vector<Command>& commands) {
  std::string others = ".SH SEE ALSO\n";
  for (const Command& other : commands) {
    if (other.name != command.name)
      others += fmt::format(".BR {} (1){}\n", Roff(PageName(other)), &other == &commands.back() ? "" : ",");
  }
  if (others.ends_with(",\n")) others.erase(others.size() - 2, 1);
  return others;
}

}  // namespace

std::string PageName(const Command& command) {
  return command.name.empty() ? "kvmission" : "kvmission-" + command.name;
}

std::string ManPage(const Command& command, const std::vector<Command>& commands) {
  const std::string name = Roff(PageName(command));
  std::string page = fmt::format(".TH {} 1 \"\" \"kvmission {}\" \"KVUtilities\"\n", name, KVMission::Version());
  page += fmt::format(".SH NAME\n{} \\- {}\n.SH SYNOPSIS\n{}", name, Roff(command.help), Usage(command));
  page += command.name.empty() ? CommandList(commands) : "";
  page += Entries(command);
  if (!command.footer.empty()) page += ".PP\n" + Roff(command.footer) + "\n";
  page += ".SH EXIT STATUS\n";
  for (const auto& [code, text] : kExitCodes) page += fmt::format(".TP\n.B {}\n{}\n", static_cast<int>(code), text);
  return page + SeeAlso(command, commands);
}

}  // namespace kv::reference
