#include "outputs/QgisProject.h"

#include <cpl_conv.h>
#include <fmt/format.h>
#include <gdal.h>
#include <ogr_api.h>
#include <qgis.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <string_view>

#include "crs/QuietErrors.h"
#include "outputs/Markup.h"
#include "outputs/MemoryFile.h"
#include "outputs/QgisStyles.h"
#include "platform/FileNames.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr int kWgs84 = 4326;

struct ProjectLayer {
  const char* group;
  const char* layer;
  const char* title;
  bool isShown;
};
/// From top to bottom. Layers that lie over others' places wait for a click.
constexpr auto kProjectLayers = std::to_array<ProjectLayer>({
    {"Photos", "dropped", "Dropped exposures", true},
    {"Photos", "photos", "Photos", true},
    {"Photos", "stations", "Exposure stations", false},
    {"Housekeeping", "housekeeping", "Housekeeping log", true},
    {"Trajectory", "gaps", "Gaps", true},
    {"Trajectory", "fixes", "Fixes", true},
    {"Trajectory", "trajectory", "Trajectory", true},
    {"Trajectory", "pos", "POS samples", false},
    {"Findings", "findings", "Findings", true},
});

/// Rows of the layers that there are.
std::vector<ProjectLayer> RowsOf(const std::vector<std::string>& layers) {
  std::vector<ProjectLayer> rows;
  std::copy_if(kProjectLayers.begin(), kProjectLayers.end(), std::back_inserter(rows), [&](const ProjectLayer& row) {
    return std::find(layers.begin(), layers.end(), row.layer) != layers.end();
  });
  return rows;
}

std::string TreeOf(const std::vector<ProjectLayer>& rows) {
  std::string tree;
  std::string_view group;
  for (const ProjectLayer& row : rows) {
    if (row.group != group) {
      if (!group.empty()) tree += "</layer-tree-group>\n";
      tree += fmt::format("<layer-tree-group name=\"{}\" checked=\"Qt::Checked\" expanded=\"1\">\n", row.group);
      group = row.group;
    }
    tree += fmt::format(
        "<layer-tree-layer id=\"mission_{}\" name=\"{}\" providerKey=\"ogr\" checked=\"Qt::{}\" expanded=\"{}\"/>\n",
        row.layer, row.title, row.isShown ? "Checked" : "Unchecked", int{row.isShown});
  }
  return tree += group.empty() ? "" : "</layer-tree-group>\n";
}

Bounds BoundsOf(const Mission& mission) {
  Bounds bounds = mission.photoBounds;
  if (mission.trajectory) bounds.Add(mission.trajectory->bounds);
  return bounds;
}

/// QGIS looks at the code only if there is a number of its own too.
std::string SystemElement(int epsgCode) {
  return fmt::format("<spatialrefsys><srsid>1</srsid><authid>EPSG:{}</authid></spatialrefsys>", epsgCode);
}

std::string SystemElement(const std::string& layer, const Mission& mission) {
  if (layer == "findings") return {};
  if (layer != "pos" || !mission.pos) return SystemElement(kWgs84);
  return fmt::format("<spatialrefsys><wkt>{}</wkt></spatialrefsys>", XmlText(mission.pos->wkt));
}

/// The EPSG code of the UTM zone of WGS 84 in the middle, where a map shows true angles and nearly true lengths.
int SystemFor(const Bounds& bounds) {
  constexpr int kNorth = 32600, kSouth = 32700, kZones = 60;
  if (bounds.IsEmpty()) return kWgs84;
  const bool isAcross = bounds.east - bounds.west > 180;  // the 180th meridian
  const double longitude = isAcross ? bounds.east : bounds.west + (bounds.east - bounds.west) / 2;
  if (!std::isfinite(longitude)) return kWgs84;
  const int zone = static_cast<int>(std::clamp((longitude + 180) / 6, 0.0, kZones - 1.0)) + 1;
  return (bounds.north + bounds.south < 0 ? kSouth : kNorth) + zone;
}

std::string ExtentOf(const Bounds& bounds) {
  if (bounds.IsEmpty()) return {};
  constexpr double kMargin = 0.0005;  // some metres around what may be a single point
  return fmt::format("<DefaultViewExtent xmin=\"{}\" ymin=\"{}\" xmax=\"{}\" ymax=\"{}\">{}</DefaultViewExtent>",
                     bounds.west - kMargin, bounds.south - kMargin, bounds.east + kMargin, bounds.north + kMargin,
                     SystemElement(kWgs84));
}

/// Of whole seconds, past the last one: QGIS compares times as texts of different lengths.
std::string SpanOf(const Mission& mission) {
  TimeSpan span = mission.photoSpan;
  if (mission.trajectory) span.Add(mission.trajectory->first), span.Add(mission.trajectory->last);
  if (!span.first) return {};
  const auto first = std::chrono::floor<std::chrono::seconds>(*span.first);
  const auto last = std::chrono::floor<std::chrono::seconds>(*span.last) + std::chrono::seconds{1};
  return fmt::format("<TemporalRange><start>{}</start><end>{}</end></TemporalRange>", IsoText(first), IsoText(last));
}

std::vector<std::string> LayersIn(const fs::path& geoPackage) {
  const QuietErrors quiet;
  const auto path = geoPackage.u8string();
  const GDALDatasetH dataset =
      GDALOpenEx(std::string(path.begin(), path.end()).c_str(), GDAL_OF_VECTOR, nullptr, nullptr, nullptr);
  if (!dataset) throw Failure(Utf8(geoPackage) + ": cannot be read");
  std::vector<std::string> layers;
  for (int i = 0; i < GDALDatasetGetLayerCount(dataset); ++i)
    layers.emplace_back(OGR_L_GetName(GDALDatasetGetLayer(dataset, i)));
  GDALClose(dataset);
  return layers;
}

/// The bytes of a .qgz.
std::string Packed(const std::string& xml) {
  const QuietErrors quiet;
  const MemoryFile file(".qgz");
  void* const zip = CPLCreateZip(file.Name().c_str(), nullptr);
  const bool isWritten = zip && CPLCreateFileInZip(zip, "mission.qgs", nullptr) == CE_None &&
                         CPLWriteFileInZip(zip, xml.data(), static_cast<int>(xml.size())) == CE_None &&
                         CPLCloseFileInZip(zip) == CE_None;
  if (!zip || CPLCloseZip(zip) != CE_None || !isWritten)
    throw Failure(fmt::format("{}: cannot be packed", kProjectFile));
  return file.Content();
}

std::string NameOf(const fs::path& folder) {
  return Utf8((fs::absolute(folder).lexically_normal() / "").parent_path().filename());
}

}  // namespace

void WriteQgisProject(const Mission& mission, const OutputPaths& paths) {
  const fs::path& folder = mission.settings.mission;
  const auto layers = LayersIn(paths.staging / kGeoPackage.fileName);
  paths.Write(kProjectFile, Packed(QgisProjectXml(mission, NameOf(folder.empty() ? paths.folder : folder), layers)));
}

std::string QgisProjectXml(const Mission& mission, const std::string& name, const std::vector<std::string>& layers) {
  const auto rows = RowsOf(layers);
  std::string layerElements;
  for (const ProjectLayer& row : rows)
    layerElements += fmt::format(fmt::runtime(qgis::project_layer_xml), fmt::arg("layer", row.layer),
                                 fmt::arg("title", row.title), fmt::arg("system", SystemElement(row.layer, mission)),
                                 fmt::arg("style", GeoPackageStyle(row.layer, mission)));
  const Bounds bounds = BoundsOf(mission);
  return fmt::format(fmt::runtime(qgis::project_qgs), fmt::arg("title", XmlText(name)),
                     fmt::arg("system", SystemElement(SystemFor(bounds))), fmt::arg("tree", TreeOf(rows)),
                     fmt::arg("layers", layerElements), fmt::arg("extent", ExtentOf(bounds)),
                     fmt::arg("span", SpanOf(mission)));
}

}  // namespace kv::mission
