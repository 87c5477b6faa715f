#include "mission/TargetSystem.h"

#include <KVUtilities.h>

#include <cmath>
#include <filesystem>

#include "base/Failure.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "text/Blanks.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr double kSemiMajorAxis = 6378137.0;  // metres, of GRS80 and WGS 84

std::string ReadDefinition(const fs::path& path) {
  constexpr std::size_t kLargest = 1 << 20;  // a definition is some kilobytes; anything larger is another file
  const std::string content = ReadBeginning(path, kLargest + 1);
  if (content.size() > kLargest) throw Failure(Utf8(path) + ": too large for a coordinate system");
  return std::string(WithoutByteOrderMark(content));
}

}  // namespace

tagKVCoordinateSystem ReadTargetSystem(const std::string& target) {
  std::error_code noPath;
  const fs::path path(target);
  const bool isFile = fs::is_regular_file(path, noPath);
  const std::string definition = isFile ? ReadDefinition(path) : target;
  std::wstring error;
  auto system = KVUtilities::DescribeCoordinateSystem(WideFromUtf8(WithoutBlanks(definition, " \t\r\n")), error);
  if (!error.empty() && isFile) throw Failure(fmt::format("{}: {}", Utf8(path), Utf8(error)));
  if (!error.empty())
    throw Failure(fmt::format("target {}: neither a file nor a coordinate system", Utf8(path)), ExitCode::WrongUsage);
  if (system.IsOrthometric && system.GeoidGrid.IsEmpty())
    throw Failure(
        fmt::format("target {}: its heights are above a geoid whose grid is not there; kvmission info lists "
                    "the grids",
                    Utf8(std::wstring(system.Name.GetString()))));
  return system;
}

std::string HeightsText(const tagKVCoordinateSystem& system) {
  if (!system.GeoidGrid.IsEmpty())
    return fmt::format("heights above the geoid of the grid {}", Utf8(std::wstring(system.GeoidGrid.GetString())));
  if (std::wstring_view(system.Wkt.GetString()).starts_with(L"GEOCCS["))
    return "z from the Earth's centre, no height: no geoid grid is used";
  return "heights above the ellipsoid: no geoid grid is used";
}

void WarnOfEllipsoid(const tagKVCoordinateSystem& system, Log& log) {
  constexpr double kSame = 0.001;  // metres
  if (system.GeoidGrid.IsEmpty() || std::abs(system.SemiMajorAxis - kSemiMajorAxis) < kSame) return;
  log.Warn(
      "the geoid grid {} is applied above the ellipsoid of {}, not above GRS80 or WGS 84: heights may be wrong by tens "
      "of metres, and places by more; take a target on ETRS89 or the like",
      Utf8(std::wstring(system.GeoidGrid.GetString())), Utf8(std::wstring(system.Name.GetString())));
}

}  // namespace kv::mission
