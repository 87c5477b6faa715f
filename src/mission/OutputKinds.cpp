#include "mission/OutputKinds.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

#include "base/Writing.h"
#include "mission/Steps.h"
#include "outputs/MissionLayers.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

OutputPaths PathsOf(const OutputFolder& output) {
  return {output.Staging(), fs::absolute(output.Path()).lexically_normal()};
}

template <const VectorFormat& kFormat>
void WriteVectors(const Mission& mission, const OutputFolder& output, Job& job) {
  WriteMissionLayers(mission, kFormat, PathsOf(output), job);
}

/// A file for each layer.
Results FilesOf(const VectorFormat& format) {
  Results results;
  for (const char* layer : kVectorLayers) results.files.push_back(std::string(layer) + format.extension);
  return results;
}

void WriteSummary(const Mission& mission, const OutputFolder& output, Job&) {
  WriteFile(output.Staging() / kSummaryFile, SummaryJson(mission, PathsOf(output).folder));
}

}  // namespace

const std::vector<OutputRow>& OutputRows() {
  static const std::vector<OutputRow> rows{
      {{"shp", "Shapefile sets", true}, {.layers = {kLayerNames.begin(), kLayerNames.end()}}, WriteShapefiles},
      {{"gpkg", "GeoPackage", true},
       {.files = {kGeoPackage.fileName},
        .companions = {"mission.gpkg-journal", "mission.gpkg-wal", "mission.gpkg-shm"}},
       WriteVectors<kGeoPackage>},
      {{"json", "summary", true}, {.files = {kSummaryFile}}, WriteSummary},
      {{"geojson", "GeoJSON", false}, FilesOf(kGeoJson), WriteVectors<kGeoJson>},
      {{"fgb", "FlatGeobuf", false}, FilesOf(kFlatGeobuf), WriteVectors<kFlatGeobuf>},
      {{"csv", "tables", false}, FilesOf(kCsv), WriteVectors<kCsv>},
  };
  return rows;
}

std::string OutputNames() {
  std::string names;
  for (const OutputRow& row : OutputRows()) (names += names.empty() ? "" : ", ") += row.kind.name;
  return names;
}

bool IsWanted(std::string_view name, const Settings& settings) {
  const auto& outputs = settings.outputs;
  if (!outputs.empty()) return std::count(outputs.begin(), outputs.end(), name) > 0;
  return std::any_of(OutputRows().begin(), OutputRows().end(),
                     [&](const OutputRow& row) { return row.kind.isDefault && row.kind.name == name; });
}

Results RunResults() {
  Results all;
  const auto append = [](const std::vector<std::string>& from, std::vector<std::string>& to) {
    to.insert(to.end(), from.begin(), from.end());
  };
  for (const OutputRow& row : OutputRows()) {
    append(row.results.layers, all.layers);
    append(row.results.files, all.files);
    append(row.results.companions, all.companions);
  }
  return all;
}

void WriteResults(const Mission& mission, const OutputFolder& output, Job& job) {
  for (const OutputRow& row : OutputRows()) {
    if (!IsWanted(row.kind.name, mission.settings) || (row.needsPhotoLayer && !mission.HasPhotoLayer())) continue;
    job.ThrowIfStopped();
    row.write(mission, output, job);
  }
}

}  // namespace kv::mission

const std::vector<KVMission::OutputKind>& KVMission::OutputKinds() {
  static const auto kinds = [] {
    std::vector<OutputKind> all;
    for (const auto& row : kv::mission::OutputRows()) all.push_back(row.kind);
    return all;
  }();
  return kinds;
}
