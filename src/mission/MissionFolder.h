#pragma once

#include <filesystem>

#include "base/Log.h"
#include "mission/Settings.h"

namespace kv::mission {

/// What a mission's folder settles in its mission.toml; nothing when it has none. A link that leads nowhere is one.
/// @throws Failure as `ReadMissionToml`; when there is no such folder
Settings ReadMissionSettings(const std::filesystem::path& folder);

/// Looks in a mission's folder, not in those below, for what the settings leave open: files by their content, photo
/// folders by the names cam1, cam2, camera1, camera2 in any letter case. What is not there stays open.
/// @throws Failure when there are several candidates, which names them and the option that decides; when the folder
///         cannot be listed
void FindMissionFiles(const std::filesystem::path& folder, Settings& settings, Log& log);

/// The folder of one camera's photos: that of the mission.toml, else the one found by name.
/// @throws Failure when there is none, or several
std::filesystem::path FindCameraFolder(const std::filesystem::path& folder, int camera, Log& log);

}  // namespace kv::mission
