#include "mission/OutputKinds.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

#include "mission/HandOver.h"
#include "mission/Steps.h"
#include "mission/inputs/GeoidHeights.h"
#include "outputs/QgisProject.h"
#include "outputs/QgisStyles.h"
#include "outputs/TrackFiles.h"

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
  for (const char* layer : kVectorLayers) results.files.push_back(FileFor(layer, format));
  return results;
}

/// @return none when the grid of EGM96 is not installed, or does not reach a place
std::vector<double> SeparationsAt(const std::vector<tagKVPosEvent>& places) {
  std::vector<double> separations;
  const auto geoid = Egm96::Find();
  if (!geoid || !geoid->Separations(places, separations).empty()) return {};
  return separations;
}

template <class Records, class PlaceOf>
std::vector<double> SeparationsOf(const Records& records, PlaceOf placeOf) {
  std::vector<tagKVPosEvent> places;
  places.reserve(records.size());
  for (const auto& record : records) {
    const auto& place = placeOf(record);
    places.emplace_back();
    places.back().Latitude = place.Latitude, places.back().Longitude = place.Longitude;
  }
  return SeparationsAt(places);
}

GeoidSeparations SeparationsIn(const Mission& mission) {
  GeoidSeparations separations;
  separations.exposures = SeparationsOf(
      mission.exposures, [](const Exposure& exposure) -> auto& { return exposure.event; });
  if (mission.trajectory)
    separations.fixes = SeparationsOf(
        mission.trajectory->fixes, [](const tagKVTrajectoryObs& fix) -> auto& { return fix; });
  return separations;
}

template <auto kWrite>
void WriteTrack(const Mission& mission, const OutputFolder& output, Job& job) {
  kWrite(mission, SeparationsIn(mission), PathsOf(output), job);
}

/// Each set with a style beside it, by which QGIS opens it.
Results StyledShapefiles() {
  Results results{.layers = {kLayerNames.begin(), kLayerNames.end()}};
  for (const auto& layer : results.layers) results.files.push_back(layer + ".qml");
  return results;
}

void WriteStyledShapefiles(const Mission& mission, const OutputFolder& output, Job& job) {
  WriteShapefiles(mission, output, job);
  for (const Layer& layer : LayersOf(mission))
    PathsOf(output).Write(std::string(layer.name) + ".qml", ShapefileQml(layer.name, mission));
}

void WriteProject(const Mission& mission, const OutputFolder& output, Job&) {
  WriteQgisProject(mission, PathsOf(output));
}

void WriteSummary(const Mission& mission, const OutputFolder& output, Job&) {
  PathsOf(output).Write(kSummaryFile, SummaryJson(mission, PathsOf(output).folder));
}

void WriteReport(const Mission& mission, const OutputFolder& output, Job&) {
  PathsOf(output).Write(kReportFile, ReportHtml(mission, PathsOf(output).folder));
}

}  // namespace

const std::vector<OutputRow>& OutputRows() {
  static const auto rows = [] {
    std::vector<OutputRow> all{
        {{"shp", "Shapefile sets", true}, StyledShapefiles(), WriteStyledShapefiles},
        {{"gpkg", "GeoPackage", true},
         {.files = {kGeoPackage.fileName},
          .companions = {"mission.gpkg-journal", "mission.gpkg-wal", "mission.gpkg-shm"}},
         WriteVectors<kGeoPackage>},
        {{"qgz", "QGIS project, with its GeoPackage", true}, {.files = {kProjectFile}}, WriteProject, false, "gpkg"},
        {{kReportOutput, "page for people", true}, {.files = {kReportFile}}, WriteReport},
        {{"json", "summary", true}, {.files = {kSummaryFile}}, WriteSummary},
        {{"geojson", "GeoJSON", false}, FilesOf(kGeoJson), WriteVectors<kGeoJson>},
        {{"fgb", "FlatGeobuf", false}, FilesOf(kFlatGeobuf), WriteVectors<kFlatGeobuf>},
        {{"kml", "KML", false}, {.files = {kKmlFile}}, WriteTrack<WriteKml>},
        {{"gpx", "GPX", false}, {.files = {kGpxFile}}, WriteTrack<WriteGpx>},
        {{"csv", "tables", false}, FilesOf(kCsv), WriteVectors<kCsv>},
    };
    const auto& photogrammetry = PhotogrammetryRows();
    all.insert(all.end(), photogrammetry.begin(), photogrammetry.end());
    return all;
  }();
  return rows;
}

std::string OutputNames() {
  std::string names;
  for (const OutputRow& row : OutputRows()) (names += names.empty() ? "" : ", ") += row.kind.name;
  return names;
}

bool IsWanted(std::string_view name, const Settings& settings) {
  const auto& outputs = settings.outputs;
  const auto isNamed = [&](const OutputRow& row) {
    return outputs.empty() ? row.kind.isDefault : std::count(outputs.begin(), outputs.end(), row.kind.name) > 0;
  };
  return std::any_of(OutputRows().begin(), OutputRows().end(), [&](const OutputRow& row) {
    return isNamed(row) && (row.kind.name == name || (row.needs && row.needs == name));
  });
}

namespace {

template <class IsMeant>
Results ResultsOfRows(IsMeant isMeant) {
  Results all;
  const auto append = [](const std::vector<std::string>& from, std::vector<std::string>& to) {
    to.insert(to.end(), from.begin(), from.end());
  };
  for (const OutputRow& row : OutputRows()) {
    if (!isMeant(row)) continue;
    append(row.results.layers, all.layers);
    append(row.results.files, all.files);
    append(row.results.companions, all.companions);
  }
  return all;
}

}  // namespace

Results RunResults() {
  return ResultsOfRows([](const OutputRow&) { return true; });
}

Results ResultsOf(const Settings& settings) {
  const auto isForPhotogrammetry = [](const OutputRow& row) { return row.needsPhotos; };
  const bool isAll = std::any_of(OutputRows().begin(), OutputRows().end(), [&](const OutputRow& row) {
    return IsWanted(row.kind.name, settings) && !isForPhotogrammetry(row);
  });
  return isAll ? RunResults() : ResultsOfRows(isForPhotogrammetry);
}

bool HasPlacedPhotos(const Mission& mission) {
  return mission.HasPhotoLayer() &&
         std::any_of(mission.exposures.begin(), mission.exposures.end(),
                     [](const Exposure& exposure) { return !exposure.drop && !exposure.event.PhotoPath.IsEmpty(); });
}

std::vector<std::string> WantedOutputs(const Mission& mission) {
  std::vector<std::string> names;
  for (const OutputRow& row : OutputRows()) {
    if (!IsWanted(row.kind.name, mission.settings)) continue;
    if (!row.needsPhotos || HasPlacedPhotos(mission)) names.emplace_back(row.kind.name);
  }
  return names;
}

void WriteResults(const Mission& mission, const OutputFolder& output, Job& job) {
  const auto wanted = WantedOutputs(mission);
  for (const OutputRow& row : OutputRows()) {
    if (std::count(wanted.begin(), wanted.end(), row.kind.name) == 0) continue;
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
