#pragma once

#include <filesystem>

#include "Log.h"
#include "run/Settings.h"

namespace kv::mission {

/// Looks in a mission's folder, not in those below, for what the settings leave open: files by their content, photo
/// folders by the names cam1, cam2, camera1, camera2 in any letter case. What is not there stays open.
/// @throws Failure when there are several candidates, which names them and the option that decides; when the folder
/// cannot
///         be listed
void FindMissionFiles(const std::filesystem::path& folder, Settings& settings, Log& log);

/// The folder of one camera's photos: that of the mission.toml, else the one found by name.
/// @throws Failure when there is none, or several
std::filesystem::path FindCameraFolder(const std::filesystem::path& folder, int camera, Log& log);

inline constexpr const char* kMissionFileName = "mission.toml";

}  // namespace kv::mission
