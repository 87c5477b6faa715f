#include <fmt/format.h>
#include <toml++/toml.h>

#include <algorithm>
#include <string>

#include "mission/Settings.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"

namespace kv::mission {
namespace {

using Path = std::filesystem::path;
using Type = SettingKey::Type;

constexpr std::size_t kLargest = 64 * 1024;  // bytes; a file with every setting takes two thousand

[[noreturn]] void Refuse(const Path& file, const toml::source_region& source, const std::string& complaint) {
  throw Failure(fmt::format("{}: line {}: {}", Utf8(file), source.begin.line, complaint), Failure::Reason::WrongUsage);
}

/// The type of value that a setting takes, for messages.
const char* WordFor(Type type) {
  switch (type) {
    case Type::CalendarDate:
      return "a date";
    case Type::Number:
    case Type::Count:
      return "a number";
    case Type::NumberOrAuto:
      return "a number or \"auto\"";
    case Type::Flag:
      return "true or false";
    default:
      return "a string";
  }
}

/// A value as the command line would have it; nothing when its type does not fit the setting.
std::optional<std::string> TextFor(Type type, const toml::node& value) {
  const bool isNumber = type == Type::Number || type == Type::Count;
  if (isNumber || (type == Type::NumberOrAuto && value.is_number())) {
    const auto number = value.is_number() ? value.value<double>() : std::nullopt;
    return number ? std::optional(fmt::format("{}", *number)) : std::nullopt;
  }
  if (type == Type::Flag) {
    const auto flag = value.value_exact<bool>();
    return flag ? std::optional<std::string>(*flag ? "true" : "false") : std::nullopt;
  }
  if (const auto date = value.value_exact<toml::date>(); type == Type::CalendarDate && date)
    return fmt::format("{:04}-{:02}-{:02}", date->year, date->month, date->day);
  return value.value_exact<std::string>();
}

/// A path, and a target that is a file, is relative to the folder of the mission.toml.
std::string Resolved(Type type, const Path& folder, const std::string& text) {
  if (text.empty() || text.find('\0') != text.npos) return text;
  std::error_code noPath;
  const bool isPath = type == Type::Path ||
                      (type == Type::Text && std::filesystem::is_regular_file(folder / PathFromText(text), noPath));
  return isPath ? TextFromPath(folder / PathFromText(text)) : text;
}

/// Whether a path leads out of a folder, by its links too.
bool IsOutside(const Path& path, const Path& folder) {
  std::error_code error;
  const Path inside =
      std::filesystem::weakly_canonical(path, error).lexically_relative(std::filesystem::canonical(folder, error));
  return error || inside.empty() || *inside.begin() == "..";
}

void Apply(const Path& file, std::string_view name, const toml::node& value, Settings& settings) {
  const auto& keys = SettingKeys();
  const auto key = std::find_if(keys.begin(), keys.end(), [&](auto& entry) { return entry.name == name; });
  if (key == keys.end() || !key->inMissionFile) Refuse(file, value.source(), fmt::format("unknown key \"{}\"", name));
  if (const toml::array* list = value.as_array(); list && key->isList) {
    for (const toml::node& entry : *list) Apply(file, name, entry, settings);
    return;
  }
  const auto text = TextFor(key->type, value);
  if (!text) Refuse(file, value.source(), fmt::format("{} must be {}", name, WordFor(key->type)));
  const std::string resolved = Resolved(key->type, file.parent_path(), *text);
  const std::string complaint = SetFromText(key->name, resolved, settings);
  if (!complaint.empty()) Refuse(file, value.source(), fmt::format("{} {}", name, complaint));
  if (key->type == Type::Path && IsOutside(PathFromText(resolved), file.parent_path()))
    settings.outside.push_back(key->name);
}

/// The parser calls itself for each level of tables and lists, and a level takes at least one of these characters.
void RefuseDeepNesting(const Path& file, std::string_view content) {
  constexpr std::ptrdiff_t kMost = 1000;
  std::size_t number = 1;
  for (std::size_t begin = 0; begin < content.size(); ++number) {
    const std::string_view line = content.substr(begin, content.find('\n', begin) - begin);
    const auto levels =
        std::count_if(line.begin(), line.end(), [](char c) { return c == '.' || c == '[' || c == '{'; });
    if (levels > kMost)
      throw Failure(fmt::format("{}: line {}: nested too deeply", Utf8(file), number), Failure::Reason::WrongUsage);
    begin += line.size() + 1;
  }
}

}  // namespace

void ReadMissionToml(const Path& path, Settings& settings) try {
  RefuseUnlessRegular(path);
  const std::string content = ReadSmallFile(path, kLargest, "a mission file", Failure::Reason::WrongUsage);
  RefuseDeepNesting(path, content);
  for (const auto& [name, value] : toml::parse(std::string_view(content))) Apply(path, name.str(), value, settings);
} catch (const toml::parse_error& error) {
  Refuse(path, error.source(), std::string(error.description()));
}

}  // namespace kv::mission
