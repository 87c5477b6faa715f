#include <fmt/format.h>
#include <toml++/toml.h>

#include <algorithm>
#include <iterator>

#include "base/Failure.h"
#include "mission/Settings.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"

namespace kv::mission {
namespace {

using Path = std::filesystem::path;

std::string Describe(const toml::source_region& source) { return fmt::format("line {}", source.begin.line); }

[[noreturn]] void Refuse(const Path& file, const toml::source_region& source, const std::string& complaint) {
  throw Failure(fmt::format("{}: {}: {}", Utf8(file), Describe(source), complaint), ExitCode::WrongUsage);
}

/// The type of value that a setting takes, for messages.
const char* TypeFor(const SettingMember& member) {
  constexpr std::array<const char*, std::variant_size_v<SettingMember>> types{
      "a string", "a date", "a string", "a number", "a number", "a string", "a string"};
  return types[member.index()];
}

/// A value as the command line would have it; nothing when its type does not fit the setting.
std::optional<std::string> TextFor(const SettingMember& member, const toml::node& value) {
  const bool isNumber = std::holds_alternative<std::optional<double> Settings::*>(member) ||
                        std::holds_alternative<std::optional<Share> Settings::*>(member);
  const bool isDate = std::holds_alternative<std::optional<std::chrono::sys_days> Settings::*>(member);
  if (isNumber) {
    const auto number = value.is_number() ? value.value<double>() : std::nullopt;
    return number ? std::optional(fmt::format("{}", *number)) : std::nullopt;
  }
  if (const auto date = value.value_exact<toml::date>(); isDate && date)
    return fmt::format("{:04}-{:02}-{:02}", date->year, date->month, date->day);
  return value.value_exact<std::string>();
}

void Apply(const Path& file, std::string_view name, const toml::node& value, Settings& settings) {
  const auto key =
      std::find_if(kSettingKeys.begin(), kSettingKeys.end(), [&](auto& entry) { return entry.name == name; });
  if (key == kSettingKeys.end()) Refuse(file, value.source(), fmt::format("unknown key \"{}\"", name));
  const auto text = TextFor(key->member, value);
  if (!text) Refuse(file, value.source(), fmt::format("{} must be {}", name, TypeFor(key->member)));
  const std::string complaint = SetFromText(key->member, *text, settings);
  if (!complaint.empty()) Refuse(file, value.source(), fmt::format("{} {}", name, complaint));
}

std::string ReadWhole(const Path& path) {
  constexpr std::size_t kLargest = 1 << 20;  // a settings file is some lines; anything larger is another file
  std::string content = ReadBeginning(path, kLargest + 1);
  if (content.size() > kLargest) throw Failure(Utf8(path) + ": too large for a mission file", ExitCode::WrongUsage);
  return content;
}

}  // namespace

Settings ReadMissionToml(const Path& path) try {
  const std::string content = ReadWhole(path);
  Settings settings;
  for (const auto& [name, value] : toml::parse(std::string_view(content))) Apply(path, name.str(), value, settings);
  for (auto* file : {&settings.trajectory, &settings.events, &settings.log, &settings.camera1, &settings.camera2,
                     &settings.pos, &settings.mrk, &settings.photos, &settings.aos, &settings.applanix}) {
    if (*file) *file = path.parent_path() / **file;
  }
  std::error_code noPath;
  if (settings.target && std::filesystem::is_regular_file(path.parent_path() / *settings.target, noPath))
    settings.target = (path.parent_path() / *settings.target).string();
  return settings;
} catch (const toml::parse_error& error) {
  Refuse(path, error.source(), std::string(error.description()));
}

}  // namespace kv::mission
