#pragma once

#include <KVMission.h>

#include <string>
#include <vector>

#include "outputs/MissionLayers.h"

/// A project for QGIS over mission.gpkg, which stands beside it: docs/formats/qgis.md.
namespace kv::mission {

using namespace KVMission;

inline constexpr const char* kProjectFile = "mission.qgz";

/// Writes the project. mission.gpkg has been written. @throws Failure
void WriteQgisProject(const Mission& mission, const OutputPaths& paths);

/// The document inside.
/// @param name    of the mission
/// @param layers  of mission.gpkg
std::string QgisProjectXml(const Mission& mission, const std::string& name, const std::vector<std::string>& layers);

}  // namespace kv::mission
