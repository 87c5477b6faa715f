#include "reference/CommandTable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string_view>

namespace kv::reference {
namespace {

constexpr std::string_view kListEnd = "[,...]";

/// The parts of "WKT|FILE|EPSG:n[+m]"; a bar inside of brackets does not separate.
std::vector<std::string> Alternatives(std::string_view form) {
  std::vector<std::string> parts(1);
  int depth = 0;
  for (const char c : form) {
    depth += c == '[' || c == '{' ? 1 : c == ']' || c == '}' ? -1 : 0;
    if (c == '|' && depth == 0)
      parts.emplace_back();
    else
      parts.back() += c;
  }
  return parts;
}

/// A word to be typed as it is, such as "auto", is in small letters; "SECONDS" stands for something else.
bool IsWord(std::string_view part) {
  return !part.empty() && part.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-.") == part.npos;
}

/// The text between two marks, such as the words of "TEXT:{stamp,exif}".
std::string Between(const std::string& text, char open, char close) {
  const std::size_t begin = text.find(open), end = text.find(close, begin);
  return end == text.npos ? std::string() : text.substr(begin + 1, end - begin - 1);
}

/// Reads what CLI11 calls the type: a placeholder of ours, or a type's name with ranges and choices behind a colon.
void ReadForm(const std::string& form, Option& option) {
  if (const std::string choices = Between(form, '{', '}'); !choices.empty()) {
    option.words = CLI::detail::split(choices, ',');
    option.value = fmt::format("{}", fmt::join(option.words, "|"));
  } else if (form == "NAME,...") {
    for (const auto& kind : KVMission::OutputKinds()) option.words.emplace_back(kind.name);
    option.value = form;
  } else {
    const bool isList = form.ends_with(kListEnd);
    const auto parts = Alternatives(std::string_view(form).substr(0, form.size() - (isList ? kListEnd.size() : 0)));
    std::copy_if(parts.begin(), parts.end(), std::back_inserter(option.words), IsWord);
    const std::string type = form.substr(0, form.find(':'));
    option.value = type == "FLOAT" || type == "INT" || type == "UINT" ? "NUMBER" : form;
    const auto has = [&](const char* part) { return std::find(parts.begin(), parts.end(), part) != parts.end(); };
    if (has("FILE") || has("POSFILE")) option.offer = Offer::Files;
    if (has("FOLDER") && option.offer == Offer::Nothing) option.offer = Offer::Folders;
  }
  if (!option.words.empty())
    option.offer = form.ends_with("...") || form.ends_with(kListEnd) ? Offer::WordList : Offer::Words;
}

/// The range that CLI11 checks and the default, for people.
std::string Details(const CLI::Option& from, const std::string& form) {
  std::string details;
  if (std::string range = Between(form, '[', ']'); range.find(" - ") != range.npos)
    details += "; " + range.replace(range.find(" - "), 3, " to ");
  return details + (from.get_default_str().empty() ? "" : "; default " + from.get_default_str());
}

Option Read(const CLI::Option& from) {
  Option option;
  for (const std::string& name : from.get_snames()) option.names.push_back("-" + name);
  for (const std::string& name : from.get_lnames()) option.names.push_back("--" + name);
  option.help = from.get_description();
  option.group = from.get_group();
  option.isRequired = from.get_required();
  option.repeats = from.get_expected_max() == CLI::detail::expected_max_vector_size;
  if (from.get_type_size() != 0) {  // not a flag
    const std::string form = from.get_type_name();
    ReadForm(form.empty() ? from.get_name(true) : form, option);
    option.help += Details(from, form);
  }
  if (option.IsPositional()) option.value = from.get_name(true);
  return option;
}

Command Read(const CLI::App& app, const std::string& name) {
  Command command{name, app.get_description(), app.get_footer(), {}};
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_group().empty()) command.options.push_back(Read(*option));
  }
  return command;
}

}  // namespace

std::vector<Command> CommandTable(const CLI::App& app) {
  std::vector<Command> commands{Read(app, "")};
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    commands.push_back(Read(*command, command->get_name()));
  return commands;
}

}  // namespace kv::reference
