#include "mission/Steps.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include "export/LayerSizes.h"
#include "mission/OutputFolder.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr std::pair<std::string_view, std::size_t> kRecordBytes[] = {{kTrajectoryPoints, kTrajectoryPointBytes},
                                                                     {kHousekeepingPoints, kLogPointBytes},
                                                                     {kPhotos, kPhotoBytes},
                                                                     {kStations, kStationBytes},
                                                                     {kPosPoints, kPosPointBytes}};

constexpr std::size_t kPathWidth = 254;  // of the photo layer's column

/// Exports do not report a .prj that could not be written.
void CheckProjectionFile(const fs::path& layer) {
  std::error_code error;
  const auto projection = fs::path(layer).replace_extension(".prj");
  if (fs::file_size(projection, error) == 0 || error)
    throw Failure(Utf8(projection.filename()) + ": cannot be written");
}

/// Writes layers into the staging folder.
class LayerWriter {
 public:
  LayerWriter(const OutputFolder& output, Job& job) : output_(output), job_(job) {}

  template <typename Export, typename Records>
  void Write(const std::string& name, Export exportLayer, Records&& records) const {
    job_.ThrowIfStopped();
    const auto path = output_.Staging() / PathFromText(name + ".shp");
    job_.Add(Found::LayerWritten, {{"layer", name}, {"records", Count(records.size())}});
    std::wstring error;
    errno = 0;
    if (!exportLayer(WidePath(path), std::forward<Records>(records), error)) {
      const std::string reason = errno == 0 ? "" : ": " + std::generic_category().message(errno);
      throw Failure(fmt::format("{}: {}{}", Utf8(output_.Path() / path.filename()), Utf8(error), reason));
    }
    CheckProjectionFile(path);
    job_.ThrowIfStopped();
  }

 private:
  const OutputFolder& output_;
  Job& job_;
};

std::vector<tagKVSystemEvent> PhotoRecords(const Mission& mission) {
  std::vector<tagKVSystemEvent> events;
  for (const Exposure& exposure : mission.exposures) {
    if (!exposure.drop) events.push_back(exposure.event);
  }
  return events;
}

}  // namespace

void RefuseOversized(std::string_view layer, const std::string& name, std::size_t records, const char* instead) {
  const auto found = std::find_if(std::begin(kRecordBytes), std::end(kRecordBytes),
                                  [&](const auto& row) { return row.first == layer; });
  if (found == std::end(kRecordBytes)) return;  // the line, which has a single record
  if (kTableHeader + records * found->second > kLargestTable)
    throw Failure(fmt::format("{}: {} records need a table of more than 2 GiB, which a Shapefile cannot hold; {}", name,
                              records, instead));
}

void WritePosLayer(const std::string& name, const PosPoints& points, const OutputFolder& output, Job& job) {
  RefuseOversized(kPosPoints, name, points.samples.size(), "write a .csv, which has no limit");
  const std::wstring projection = WideFromUtf8(points.projection);
  const auto exportLayer = [&](std::wstring path, std::vector<tagKVPosEvent> records, std::wstring& error) {
    return KVUtilities::ExportPosPointShapefile(std::move(path), std::move(records), projection, error);
  };
  LayerWriter(output, job).Write(name, exportLayer, points.samples);
}

void WriteShapefiles(const Mission& mission, const OutputFolder& output, Job& job) {
  for (const Layer& layer : KVMission::LayersOf(mission))
    RefuseOversized(layer.name, layer.name, layer.records,
                    "a GeoPackage has no limit: run again with --outputs gpkg,qgz,report,json");
  const LayerWriter writer(output, job);
  if (mission.trajectory) {
    writer.Write(kTrajectoryLine, KVUtilities::ExportTrajectoryLineShapefile, mission.trajectory->fixes);
    writer.Write(kTrajectoryPoints, KVUtilities::ExportTrajectoryPointShapefile, mission.trajectory->fixes);
  }
  if (mission.housekeeping)
    writer.Write(kHousekeepingPoints, KVUtilities::ExportLogPointShapefile, mission.housekeeping->events);
  if (mission.HasPhotoLayer()) writer.Write(kPhotos, KVUtilities::ExportPhotoPointShapefile, PhotoRecords(mission));
  if (mission.stations)
    writer.Write(kStations, KVUtilities::ExportExposureStationPointShapefile, mission.stations->stations);
  if (mission.pos) WritePosLayer(kPosPoints, *mission.pos, output, job);
}

bool FitsPhotoPath(const CStringW& path) {
  const std::wstring_view text = path.GetString();
  std::array<char, kPathWidth> narrow;
  const auto end = narrow.begin() + static_cast<std::ptrdiff_t>(NarrowAnsi(text, narrow));
  return text.size() <= kPathWidth &&
         std::count(narrow.begin(), end, '?') == std::count(text.begin(), text.end(), L'?');
}

}  // namespace kv::mission

std::vector<KVMission::Layer> KVMission::LayersOf(const Mission& mission) {
  using namespace kv::mission;
  std::vector<Layer> layers;
  if (mission.trajectory) {
    layers.push_back({kTrajectoryLine, 1});
    layers.push_back({kTrajectoryPoints, mission.trajectory->fixes.size()});
  }
  if (mission.housekeeping) layers.push_back({kHousekeepingPoints, mission.housekeeping->events.size()});
  if (mission.HasPhotoLayer())
    layers.push_back(
        {kPhotos, static_cast<std::size_t>(std::count_if(mission.exposures.begin(), mission.exposures.end(),
                                                         [](auto& exposure) { return !exposure.drop; }))});
  if (mission.stations) layers.push_back({kStations, mission.stations->stations.size()});
  if (mission.pos) layers.push_back({kPosPoints, mission.pos->samples.size()});
  return layers;
}
