#include <fmt/format.h>
#include <fmt/ranges.h>

#include <map>
#include <string_view>

#include "reference/Pages.h"

namespace kv::reference {
namespace {

/// In single quotes, for bash and zsh.
std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) c == '\'' ? quoted += "'\\''" : quoted += c;
  return quoted + "'";
}

/// In single quotes, for fish.
std::string FishQuoted(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  return quoted + "'";
}

std::string Joined(const std::vector<std::string>& words, const char* between = " ") {
  return fmt::format("{}", fmt::join(words, between));
}

/// What the function below does for a value, as shell statements.
std::string BashOffer(const Option& option) {
  switch (option.offer) {
    case Offer::Words:
      return "words=" + Quoted(Joined(option.words));
    case Offer::WordList:
      return "list=" + Quoted(Joined(option.words));
    case Offer::Files:
      return "compopt -o default";
    case Offer::Folders:
      return "compopt -o dirnames";
    case Offer::Nothing:
      break;
  }
  return ":";
}

/// Text between the brackets of an argument of zsh's _arguments, or between its colons.
std::string ZshText(std::string_view text) {
  std::string escaped;
  for (const char c : text)
    escaped += std::string_view("[]:\\").find(c) == std::string_view::npos ? "" : "\\", escaped += c;
  return escaped;
}

std::string ZshValue(const Option& option) {
  const std::string value = ":" + ZshText(option.value) + ":";
  switch (option.offer) {
    case Offer::Words:
      return value + "(" + Joined(option.words) + ")";
    case Offer::WordList:
      return value + "_sequence compadd - " + Joined(option.words);
    case Offer::Files:
      return value + "_files";
    case Offer::Folders:
      return value + "_files -/";
    case Offer::Nothing:
      break;
  }
  return value + " ";
}

/// What _arguments takes for each name of an option. The other names are not offered after it.
std::string ZshArguments(const Option& option) {
  if (option.IsPositional()) return " \\\n      " + Quoted((option.repeats ? "*" : ":") + ZshValue(option));
  std::string arguments;
  for (const std::string& name : option.names) {
    const std::string others = option.repeats ? "*" : "(" + Joined(option.names) + ")";
    const char* const attached = option.value.empty() ? "" : name.starts_with("--") ? "=" : "+";
    const std::string value = option.value.empty() ? "" : ZshValue(option);
    arguments += " \\\n      " + Quoted(others + name + attached + "[" + ZshText(option.help) + "]" + value);
  }
  return arguments;
}

std::string FishOffer(const Option& option) {
  switch (option.offer) {
    case Offer::Words:
      return " -x -a " + FishQuoted(Joined(option.words));
    case Offer::WordList:
      return " -x -a " + FishQuoted("(__fish_append , " + Joined(option.words) + ")");
    case Offer::Files:
      return " -r -F";
    case Offer::Folders:
      return " -x -a '(__fish_complete_directories)'";
    case Offer::Nothing:
      break;
  }
  return option.value.empty() ? "" : " -x";
}

std::string FishLine(const std::string& condition, const Option& option) {
  std::string line = "complete -c kvmission -n " + FishQuoted(condition);
  for (const std::string& name : option.names)
    line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  return line + FishOffer(option) + (option.IsPositional() ? "" : " -d " + FishQuoted(option.help)) + "\n";
}

}  // namespace

std::string BashCompletion(const std::vector<Command>& commands) {
  std::map<std::string, std::string> casesByOffer;  // "'run -o' | 'run --output'" by statement
  std::string names, optionNames, positionals;
  for (const Command& command : commands) {
    if (!command.name.empty()) names += command.name + " ";
    std::vector<std::string> all;
    for (const Option& option : command.options) {
      if (option.IsPositional()) positionals += fmt::format("          {}) {} ;;\n", command.name, BashOffer(option));
      for (const std::string& name : option.names) {
        all.push_back(name);
        if (option.value.empty()) continue;
        std::string& cases = casesByOffer[BashOffer(option)];
        cases += (cases.empty() ? "" : " | ") + Quoted(command.name + " " + name);
      }
    }
    optionNames += fmt::format("          {}) words={} ;;\n", Quoted(command.name), Quoted(Joined(all)));
  }
  std::string values;
  for (const auto& [offer, cases] : casesByOffer) values += fmt::format("    {}) {} ;;\n", cases, offer);
  // bash splits "--output=x" into three words. Without completions its own ones for files or folders apply, which know
  // how to quote.
  return fmt::format(R"(# Completion of kvmission for bash, made from its options.
_kvmission() {{
  local word=$2 before=$3 command= words= list= begun=
  [[ $word == = ]] && word=
  [[ $before == = ]] && before=${{COMP_WORDS[COMP_CWORD - 2]}}
  ((COMP_CWORD > 1)) && command=${{COMP_WORDS[1]}}
  COMPREPLY=()
  case "$command $before" in
{}    *)
      case $word in
      -*)
        case $command in
{}        esac
        ;;
      *)
        case $command in
          '') words='{}' ;;
{}        esac
        ;;
      esac
      ;;
  esac
  if [[ $list ]]; then
    [[ $word == *,* ]] && begun=${{word%,*}},
    compopt -o nospace
    mapfile -t COMPREPLY < <(compgen -P "$begun" -W "$list" -- "${{word##*,}}")
  elif [[ $words ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  fi
}}
complete -F _kvmission kvmission
)",
                     values, optionNames, names, positionals);
}

std::string ZshCompletion(const std::vector<Command>& commands) {
  std::string list, cases, own;
  for (const Command& command : commands) {
    std::string arguments;
    for (const Option& option : command.options) arguments += ZshArguments(option);
    if (command.name.empty()) {
      own = arguments;
    } else {
      list += "    " + Quoted(command.name + ":" + command.help) + "\n";
      cases += fmt::format("    {})\n      _arguments -s{}\n      ;;\n", command.name, arguments);
    }
  }
  return fmt::format(R"(#compdef kvmission
# Completion of kvmission for zsh, made from its options.
_kvmission() {{
  local curcontext=$curcontext state line
  local -A opt_args
  local -a commands=(
{}  )
  _arguments -C{} \
      '1: :->command' '*:: :->arguments'
  case $state in
  command) _describe command commands ;;
  arguments)
    curcontext=${{curcontext%:*:*}}:kvmission-$words[1]:
    case $words[1] in
{}    esac
    ;;
  esac
}}
_kvmission "$@"
)",
                     list, own, cases);
}

std::string FishCompletion(const std::vector<Command>& commands) {
  std::string script = R"(# Completion of kvmission for fish, made from its options.
function __kvmission_has
    set -l words (commandline -opc)
    test "$words[2]" = "$argv[1]"
end
complete -c kvmission -f
)";
  for (const Command& command : commands) {
    const std::string condition = "__kvmission_has " + FishQuoted(command.name);
    if (!command.name.empty())
      script += fmt::format("complete -c kvmission -n \"__kvmission_has ''\" -a {} -d {}\n", command.name,
                            FishQuoted(command.help));
    for (const Option& option : command.options) script += FishLine(condition, option);
  }
  return script;
}

}  // namespace kv::reference
