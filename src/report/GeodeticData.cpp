#include <KVUtilities.h>
#include <fmt/format.h>

#include <algorithm>

#include "platform/FileNames.h"
#include "report/Json.h"

namespace kv::mission {
namespace {

std::string Narrow(const CStringW& text) { return Utf8(std::wstring(text.GetString())); }

/// @throws Failure with the sentence of the operation that failed
tagKVGeodeticData DataInUse() {
  std::wstring error;
  auto data = KVUtilities::DescribeGeodeticData(error);
  if (!error.empty()) throw Failure(Utf8(error));
  return data;
}

}  // namespace
}  // namespace kv::mission

std::string KVMission::GeodeticDataJson() {
  using namespace kv::mission;
  const auto data = DataInUse();
  Json grids = Json::array();
  for (const auto& grid : data.Grids)
    grids.push_back(
        {{"verticalSystem", Narrow(grid.VerticalSystem)}, {"file", Narrow(grid.File)}, {"present", grid.Exists}});
  return Written(Json::array({{{"kind", "geodetic data"},
                               {"dataRoot", Narrow(data.DataRoot)},
                               {"gdal", Narrow(data.GdalVersion)},
                               {"proj", Narrow(data.ProjVersion)},
                               {"geoidGrids", std::move(grids)}}}));
}

std::string KVMission::GeodeticDataText() {
  using namespace kv::mission;
  const auto data = DataInUse();
  const auto text = [](const CStringW& of) { return Visible(Narrow(of)); };
  std::string lines =
      fmt::format("geodetic data\n  data root: {}\n  GDAL: {}\n  PROJ: {}\n  geoid grids: {} listed, {} present\n",
                  text(data.DataRoot), text(data.GdalVersion), text(data.ProjVersion), data.Grids.size(),
                  std::count_if(data.Grids.begin(), data.Grids.end(), [](const auto& grid) { return grid.Exists; }));
  for (const auto& grid : data.Grids) {
    if (grid.Exists) lines += fmt::format("    {}: {}\n", text(grid.VerticalSystem), text(grid.File));
  }
  return lines;
}
