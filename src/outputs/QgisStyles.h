#pragma once

#include <KVMission.h>

#include <string>
#include <string_view>
#include <vector>

#include "outputs/Schema.h"

/// Styles for QGIS: docs/formats/qgis.md.
namespace kv::mission {

using namespace KVMission;

/// The QML style of a layer of mission.gpkg, in the table in which QGIS looks for it.
struct StyleRow {
  std::string layer, qml;
  Instant time;  ///< made up; QGIS lists styles of equal times several times
};
extern const VectorLayer<StyleRow> kStyleLayer;
/// @param layers  of mission.gpkg; those without places have no style
std::vector<StyleRow> StyleRows(const Mission& mission, const std::vector<std::string>& layers);

/// The QML style of a published Shapefile set.
std::string ShapefileQml(std::string_view set, const Mission& mission);
/// The elements of a style, for a project; empty for a layer without places.
/// @param layer  of mission.gpkg
std::string GeoPackageStyle(std::string_view layer, const Mission& mission);

}  // namespace kv::mission
