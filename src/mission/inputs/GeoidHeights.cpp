#include "mission/inputs/GeoidHeights.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include "platform/FileNames.h"

namespace kv::mission {
namespace {

constexpr const wchar_t* kGeoid = L"EPSG:4326+5773";  // WGS 84 with EGM96 heights

std::string Text(const CStringW& text) { return Utf8(std::wstring(text.GetString())); }

}  // namespace

GeoidHeights::GeoidHeights(const std::filesystem::path& file, Job& job) : file_(file) {
  std::wstring error;
  const auto system = KVUtilities::DescribeCoordinateSystem(kGeoid, error);
  if (!error.empty() || system.GeoidGrid.IsEmpty())
    throw Failure(
        fmt::format("{}: the header says that heights are geodetic, above the geoid; to make them ellipsoidal "
                    "takes the grid of EGM96 (EPSG:5773), which is not installed",
                    Utf8(file)));
  wkt_ = system.Wkt.GetString();
  job.Add(Found::PosHeightsAboveGeoid, {{"grid", Text(system.GeoidGrid)}}, {.file = file});
}

std::wstring GeoidHeights::Apply(std::vector<tagKVPosEvent>& samples) const {
  std::vector<tagKVPosEvent> ground(samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i)
    ground[i].Latitude = samples[i].Latitude, ground[i].Longitude = samples[i].Longitude;
  std::wstring error;
  std::size_t transformed = 0;
  if (!KVUtilities::TransformPosEvents(ground, wkt_, transformed, error)) return error;
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i].Height -= ground[i].Z;  // of the ellipsoid above the geoid
  return {};
}

void GeoidHeights::Apply(std::span<RawFix> fixes) const {
  std::vector<tagKVPosEvent> samples(fixes.size());
  for (std::size_t i = 0; i < fixes.size(); ++i) {
    samples[i].Latitude = fixes[i].Latitude, samples[i].Longitude = fixes[i].Longitude;
    samples[i].Height = fixes[i].Altitude;
  }
  if (const std::wstring error = Apply(samples); !error.empty())
    throw Failure(fmt::format("{}: heights above the geoid: {}", Utf8(file_), Utf8(error)));
  for (std::size_t i = 0; i < fixes.size(); ++i) {
    fixes[i].GeoidOffst = samples[i].Height - fixes[i].Altitude;
    fixes[i].Altitude = samples[i].Height;
  }
}

}  // namespace kv::mission
