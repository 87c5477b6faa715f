#include "commands/MissionOptions.h"

#include <algorithm>

namespace kv::command {
namespace {

using KVMission::Settings;
using Type = KVMission::SettingKey::Type;

void AddSettings(CLI::App& command, MissionOptions& options, std::initializer_list<std::string_view> without) {
  for (const auto& key : KVMission::SettingKeys()) {
    if (std::find(without.begin(), without.end(), key.name) != without.end()) continue;
    const auto store = [name = std::string(key.name), &options](const std::string& text) {
      Settings trial;
      SetFromOption(trial, name, text);
      options.given.emplace_back(name, text);
    };
    const std::string option = (std::string_view(key.name) == "output" ? "-o,--" : "--") + std::string(key.name);
    if (key.type == Type::Flag) {
      command.add_flag_function(
          option, [store](std::int64_t count) { store(count > 0 ? "true" : "false"); }, key.help);
    } else if (key.isList) {
      const auto storeAll = [store](const std::vector<std::string>& texts) {
        std::for_each(texts.begin(), texts.end(), store);
      };
      command.add_option_function<std::vector<std::string>>(option, storeAll, key.help)
          ->type_name(key.placeholder)
          ->allow_extra_args(false);
    } else {
      command.add_option_function<std::string>(option, store, key.help)->type_name(key.placeholder);
    }
  }
}

}  // namespace

void AddMissionOptions(CLI::App& command, MissionOptions& options, std::initializer_list<std::string_view> without) {
  AddPath(command, "MISSION", options.mission,
          "mission folder; its files are found by content and name, or named in its mission.toml by the options' names")
      ->type_name("FOLDER");
  AddSettings(command, options, without);
}

Settings SettingsFor(const MissionOptions& options) {
  Settings settings = options.mission.empty() ? Settings() : KVMission::SettingsOf(options.mission);
  const auto isTrajectory = [](const auto& entry) { return entry.first == "trajectory"; };
  if (std::any_of(options.given.begin(), options.given.end(), isTrajectory))
    settings.trajectory.clear(), settings.otherTrajectory.clear();
  for (const auto& [key, text] : options.given) KVMission::Set(settings, key, text);
  return settings;
}

void RequireMission(const Settings& settings) {
  using KVMission::Failure;
  if (settings.mission.empty() && settings.trajectory.empty() && settings.timestamps.empty())
    throw Failure("give a mission folder, --trajectory FILE or --timestamps FILE", Failure::Reason::WrongUsage);
}

std::size_t PlacedPhotos(const KVMission::Mission& mission) {
  return static_cast<std::size_t>(std::count_if(
      mission.exposures.begin(), mission.exposures.end(),
      [](const KVMission::Exposure& exposure) { return !exposure.drop && !exposure.event.PhotoPath.IsEmpty(); }));
}

}  // namespace kv::command
