#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/Commands.h"

namespace kv::command {

/// The options of a command that runs a mission.
struct MissionOptions {
  std::filesystem::path mission;                           ///< folder; empty for none
  std::vector<std::pair<std::string, std::string>> given;  ///< settings by key
};

/// Adds the mission's folder and every setting of the table, each checked as it is given.
/// @param without  keys of settings that mean nothing to the command
void AddMissionOptions(CLI::App& command, MissionOptions& options,
                       std::initializer_list<std::string_view> without = {});

/// The settings of the mission's folder, changed by the command line.
KVMission::Settings SettingsFor(const MissionOptions& options);

/// @throws Failure (WrongUsage) when neither a folder nor files of a mission are given
void RequireMission(const KVMission::Settings& settings);

/// Exposures with a place and a photo.
std::size_t PlacedPhotos(const KVMission::Mission& mission);

}  // namespace kv::command
