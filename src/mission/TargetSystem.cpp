#include "mission/TargetSystem.h"

#include <KVUtilities.h>

#include <cmath>
#include <filesystem>

#include "base/Failure.h"
#include "mission/inputs/EventFile.h"
#include "platform/System.h"
#include "readers/LineReader.h"

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

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// A path made of UTF-8 has the same wide form as the text.
std::wstring Wide(std::string_view utf8) { return WidePath(fs::path(std::u8string(utf8.begin(), utf8.end()))); }

}  // namespace

tagKVCoordinateSystem ReadTargetSystem(const std::string& target) {
  std::error_code noPath;
  const fs::path path(target);
  const bool isFile = fs::is_regular_file(path, noPath);
  const std::string definition = isFile ? ReadDefinition(path) : target;
  std::wstring error;
  auto system = KVUtilities::DescribeCoordinateSystem(Wide(Trimmed(definition)), error);
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
