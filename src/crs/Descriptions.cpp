#include <cpl_conv.h>
#include <gdal.h>
#include <ogr_spatialref.h>
#include <proj.h>

#include <algorithm>
#include <string>

#include "KVUtilities.h"
#include "base/ErrorText.h"
#include "crs/CoordinateSystemTransformer.h"
#include "crs/GeodeticData.h"
#include "crs/GeoidGrids.h"
#include "crs/QuietErrors.h"
#include "crs/Wkt.h"
#include "platform/FileNames.h"

namespace {

constexpr const wchar_t* kNoSystem = L"This is no coordinate system with a horizontal part.";
constexpr const wchar_t* kNoData = L"There is no proj.db in ";  // and the folder
constexpr const wchar_t* kUnexpectedError = L"Unexpected error describing coordinate systems.";

CStringW Text(const std::string& utf8) { return kv::WideFromUtf8(utf8).c_str(); }

// A code of a registry: letters, a colon, a digit.
bool IsCode(const std::string& definition) {
  const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  const auto colon = std::find_if_not(definition.begin(), definition.end(), isLetter);
  return colon != definition.end() && *colon == ':' && colon + 1 != definition.end() && colon[1] >= '0' &&
         colon[1] <= '9';
}

OGRErr Import(const std::string& definition, OGRSpatialReference& system) {
  if (!IsCode(definition)) return kv::ImportWkt(definition, system);
  // Allows neither files nor URLs, since the definition may come from anywhere.
  return system.SetFromUserInput(definition.c_str(), OGRSpatialReference::SET_FROM_USER_INPUT_LIMITATIONS_get());
}

// Uses GDAL's axis mapping for GIS: at the poles both axes may point north, and the first is the easting.
bool IsNorthingFirst(const OGRSpatialReference& system) {
  OGRSpatialReference forMaps(system);
  forMaps.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return system.IsProjected() && forMaps.GetDataAxisToSRSAxisMapping().front() == 2;
}

bool HasHorizontalPart(const OGRSpatialReference& system) { return !system.IsVertical() || kv::IsCompound(system); }

std::string EsriWkt(const OGRSpatialReference& system) {
  OGRSpatialReference horizontal(system);
  horizontal.StripVertical();
  std::string wkt;
  kv::ExportWkt(horizontal, kv::kEsriWkt, wkt);
  if (wkt.empty()) kv::ExportWkt(system, wkt);
  return wkt;
}

tagKVCoordinateSystem Describe(OGRSpatialReference& system, const CoordinateSystemTransformer& transformer) {
  tagKVCoordinateSystem description;
  description.Name = Text(system.GetName() ? system.GetName() : "");
  description.EsriWkt = Text(EsriWkt(system));
  description.IsGeographic = system.IsGeographic() != FALSE;
  description.IsNorthingFirst = IsNorthingFirst(system);
  description.IsOrthometric = kv::IsThreeDimensional(system) && kv::VerticalClassOf(system) == kv::kOrthometric;
  description.SemiMajorAxis = system.GetSemiMajor();
  if (description.IsOrthometric && transformer.HasGeoidGrid(system))
    description.GeoidGrid = Text(kv::FirstGrid(system));
  std::string wkt;
  kv::ExportWkt(system, wkt);
  description.Wkt = Text(wkt);
  return description;
}

}  // namespace

tagKVCoordinateSystem KVUtilities::DescribeCoordinateSystem(std::wstring definition, std::wstring& error) try {
  error.clear();
  const std::wstring projFolder = kv::ProjFolder(kv::GeodeticDataRoot());
  if (!kv::PathExists(projFolder + L"\\proj.db")) {
    error = kNoData + projFolder;
    return {};
  }
  const CoordinateSystemTransformer transformer;
  const kv::QuietErrors quiet;
  OGRSpatialReference system;
  if (Import(kv::Utf8FromWide(definition), system) == OGRERR_NONE) {
    std::string wkt;
    kv::ExportWkt(system, wkt);
    // Looks the grid up by the POS scanner's rule for names, which differs from that of the final check.
    const std::wstring prepared = transformer.PrepareVerticalWkt(kv::WideFromUtf8(wkt));
    OGRSpatialReference used;
    const bool isSystem = kv::ImportWkt(kv::Utf8FromWide(prepared), used) == OGRERR_NONE;
    if (isSystem && HasHorizontalPart(used)) return Describe(used, transformer);
  }
  error = kNoSystem;
  return {};
} catch (...) {
  kv::Report(error, kUnexpectedError);
  return {};
}

tagKVGeodeticData KVUtilities::DescribeGeodeticData(std::wstring& error) try {
  error.clear();
  const std::wstring root = kv::GeodeticDataRoot();
  tagKVGeodeticData data;
  data.DataRoot = kv::WidePath(kv::NativePath(root)).c_str();
  data.GdalVersion = Text(GDALVersionInfo("RELEASE_NAME"));
  data.ProjVersion = Text(kv::ProjVersion());
  kv::ForEachListedGrid(root, [&](std::string_view key, std::string_view grid) {
    data.Grids.push_back({Text(std::string(key)), Text(std::string(grid)), kv::GridExists(grid, root)});
    return true;
  });
  return data;
} catch (...) {
  kv::Report(error, kUnexpectedError);
  return {};
}
