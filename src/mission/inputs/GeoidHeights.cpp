#include "mission/inputs/GeoidHeights.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include "platform/FileNames.h"

namespace kv::mission {
namespace {

constexpr const wchar_t* kGeoid = L"EPSG:4326+5773";  // WGS 84 with EGM96 heights

std::string Text(const CStringW& text) { return Utf8(std::wstring(text.GetString())); }

}  // namespace

std::optional<Egm96> Egm96::Find() {
  std::wstring error;
  const auto system = KVUtilities::DescribeCoordinateSystem(kGeoid, error);
  if (!error.empty() || system.GeoidGrid.IsEmpty()) return std::nullopt;
  return Egm96(system.Wkt.GetString(), Text(system.GeoidGrid));
}

std::wstring Egm96::Separations(std::vector<tagKVPosEvent> places, std::vector<double>& separations) const {
  for (auto& place : places) place.Height = 0;
  std::wstring error;
  std::size_t transformed = 0;
  if (!places.empty() && !KVUtilities::TransformPosEvents(places, wkt_, transformed, error)) return error;
  separations.clear();
  for (const auto& place : places) separations.push_back(-place.Z);  // of the ellipsoid above the geoid
  return {};
}

void LeaveEllipsoid(std::vector<tagKVPosEvent>& places) {
  const auto geoid = Egm96::Find();
  if (!geoid)
    throw Failure(
        "heights above the geoid take the grid of EGM96 (EPSG:5773), egm96_15.gtx, which is not installed; run again "
        "with --heights ellipsoid, or install it");
  std::vector<double> separations;
  if (const std::wstring error = geoid->Separations(places, separations); !error.empty())
    throw Failure("heights above the geoid: " + Utf8(error));
  for (std::size_t i = 0; i < places.size(); ++i) places[i].Height -= separations[i];
}

GeoidHeights::GeoidHeights(const std::filesystem::path& file, Job& job) : file_(file), geoid_(Egm96::Find()) {
  if (!geoid_)
    throw Failure(
        fmt::format("{}: the header says that heights are geodetic, above the geoid; to make them ellipsoidal "
                    "takes the grid of EGM96 (EPSG:5773), which is not installed",
                    Utf8(file)));
  job.Add(Found::PosHeightsAboveGeoid, {{"grid", geoid_->Grid()}}, {.file = file});
}

std::wstring GeoidHeights::Apply(std::vector<tagKVPosEvent>& samples) const {
  std::vector<double> separations;
  if (const std::wstring error = geoid_->Separations(samples, separations); !error.empty()) return error;
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i].Height += separations[i];
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
