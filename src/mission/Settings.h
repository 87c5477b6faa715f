#pragma once

#include <KVMission.h>

#include <initializer_list>
#include <string>
#include <string_view>

/// The table of settings: what a user can settle about a mission, on the command line or in its mission.toml.
namespace kv::mission {

using namespace KVMission;

/// Stores a setting given as text.
/// @return what is wrong with the text; empty when nothing is
std::string SetFromText(const std::string& key, std::string_view text, Settings& settings);

/// @throws Failure (WrongUsage) when mission.toml names one of these folders outside of the mission folder, and the
///         settings do not allow to change photos there
void RefuseChangesOutside(const Settings& settings, std::initializer_list<std::string_view> keys);

/// Reads a mission.toml over the settings. Its paths are relative to its folder.
/// @throws Failure when it cannot be read; (WrongUsage) with line and key, when it is not TOML, or has an unknown key or
///         a value of the wrong type
void ReadMissionToml(const std::filesystem::path& path, Settings& settings);

}  // namespace kv::mission
