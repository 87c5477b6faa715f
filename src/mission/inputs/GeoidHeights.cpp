#include "mission/inputs/GeoidHeights.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include <cmath>

#include "platform/FileNames.h"

namespace kv::mission {
namespace {

constexpr const wchar_t* kGeoid = L"EPSG:4326+5773";  // WGS 84 with EGM96 heights

/// The lowest place of the geoid, degrees and metres, as the report on EGM96 has it: NASA/TP-1998-206861.
constexpr double kLowestLatitude = 4.75, kLowestLongitude = 78.75, kLowest = -106.99, kTolerance = 0.5;
constexpr const wchar_t* kWrongHeights = L"they are wrong at a place where they are known; memory may be short";

std::string Text(const CStringW& text) { return Utf8(std::wstring(text.GetString())); }

}  // namespace

std::optional<Egm96> Egm96::Find() {
  std::wstring error;
  const auto system = KVUtilities::DescribeCoordinateSystem(kGeoid, error);
  if (!error.empty() || system.GeoidGrid.IsEmpty()) return std::nullopt;
  return Egm96(system.Wkt.GetString(), Text(system.GeoidGrid));
}

std::wstring Egm96::Separations(std::vector<tagKVPosEvent> places, std::vector<double>& separations) const {
  if (places.empty()) return {};
  // Short of memory, PROJ has chosen another transformation without a word.
  auto& known = places.emplace_back();
  known.Latitude = kLowestLatitude, known.Longitude = kLowestLongitude;
  for (auto& place : places) place.Height = 0;
  std::wstring error;
  std::size_t transformed = 0;
  if (!KVUtilities::TransformPosEvents(places, wkt_, transformed, error)) return error;
  if (!(std::abs(-places.back().Z - kLowest) < kTolerance)) return kWrongHeights;
  places.pop_back();
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
