#include "report/GeodeticReport.h"

#include <KVUtilities.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/Failure.h"
#include "base/Log.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

std::string TextOf(const CStringW& text) { return Utf8(std::wstring(text.GetString())); }

}  // namespace

Json DescribeGeodeticData() {
  std::wstring error;
  const auto data = KVUtilities::DescribeGeodeticData(error);
  if (!error.empty()) throw Failure(Utf8(error));
  Json grids = Json::array();
  for (const auto& grid : data.Grids)
    grids.push_back(
        {{"verticalSystem", TextOf(grid.VerticalSystem)}, {"file", TextOf(grid.File)}, {"present", grid.Exists}});
  return {{"kind", "geodetic data"},
          {"dataRoot", TextOf(data.DataRoot)},
          {"gdal", TextOf(data.GdalVersion)},
          {"proj", TextOf(data.ProjVersion)},
          {"geoidGrids", std::move(grids)}};
}

std::string GeodeticText(const Json& description) {
  const auto text = [&](const char* key) { return Visible(description[key].get<std::string>()); };
  const Json& grids = description["geoidGrids"];
  const auto isPresent = [](const Json& grid) { return grid["present"].get<bool>(); };
  std::string lines = fmt::format(
      "geodetic data\n  data root: {}\n  GDAL: {}\n  PROJ: {}\n  geoid grids: {} listed, {} present\n",
      text("dataRoot"), text("gdal"), text("proj"), grids.size(), std::count_if(grids.begin(), grids.end(), isPresent));
  for (const auto& grid : grids) {
    if (isPresent(grid))
      lines += Visible(fmt::format("    {}: {}", grid["verticalSystem"].get<std::string>(),
                                   grid["file"].get<std::string>())) +
               '\n';
  }
  return lines;
}

}  // namespace kv::mission
