#include "mission/PosPoints.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include <cmath>
#include <filesystem>

#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "text/Blanks.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr double kSemiMajorAxis = 6378137.0;  // metres, of GRS80 and WGS 84
constexpr std::size_t kLargest = 1 << 20;     // bytes of a definition, which takes some kilobytes

}  // namespace

tagKVCoordinateSystem ReadTargetSystem(const std::string& target) {
  std::error_code noPath;
  const fs::path path = PathFromText(target);
  const bool isFile = fs::is_regular_file(path, noPath);
  const std::string text =
      isFile ? ReadSmallFile(path, kLargest, "a coordinate system", Failure::Reason::Failed) : target;
  const std::string_view definition = isFile ? WithoutByteOrderMark(text) : text;
  std::wstring error;
  auto system = KVUtilities::DescribeCoordinateSystem(WideFromUtf8(WithoutBlanks(definition, " \t\r\n")), error);
  if (!error.empty() && isFile) throw Failure(fmt::format("{}: {}", Utf8(path), Utf8(error)));
  if (!error.empty())
    throw Failure(fmt::format("target {}: neither a file nor a coordinate system", Utf8(path)),
                  Failure::Reason::WrongUsage);
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

void TellOfEllipsoid(const tagKVCoordinateSystem& system, Job& job) {
  constexpr double kSame = 0.001;  // metres
  if (system.GeoidGrid.IsEmpty() || std::abs(system.SemiMajorAxis - kSemiMajorAxis) < kSame) return;
  job.Add(Found::GridOnOtherEllipsoid, {{"grid", Utf8(std::wstring(system.GeoidGrid.GetString()))},
                                        {"system", Utf8(std::wstring(system.Name.GetString()))}});
}

}  // namespace kv::mission
