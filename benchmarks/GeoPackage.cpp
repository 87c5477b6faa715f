#include <gdal.h>
#include <ogr_api.h>
#include <ogr_srs_api.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

#include "Comparison.h"
#include "GgaFile.h"
#include "Measures.h"

namespace {

constexpr int kFixes = 1'000'000;

/// A GeoPackage with the fields of fixes, as GDAL's documentation shows how to write one in C.
void WriteByGdal(const std::string& path) {
  struct {
    const char* name;
    OGRFieldType type;
  } const fields[] = {{"fix", OFTInteger},
                      {"time", OFTDateTime},
                      {"gps_seconds", OFTReal},
                      {"latitude", OFTReal},
                      {"longitude", OFTReal},
                      {"ellipsoidal_height", OFTReal},
                      {"height_above_geoid", OFTReal},
                      {"position_quality", OFTString},
                      {"satellites", OFTInteger},
                      {"hdop", OFTReal},
                      {"horizontal_accuracy", OFTReal},
                      {"vertical_accuracy", OFTReal},
                      {"roll", OFTReal},
                      {"pitch", OFTReal},
                      {"heading", OFTReal}};
  GDALAllRegister();
  GDALDatasetH file = GDALCreate(GDALGetDriverByName("GPKG"), path.c_str(), 0, 0, 0, GDT_Unknown, nullptr);
  OGRSpatialReferenceH wgs84 = OSRNewSpatialReference(nullptr);
  OSRImportFromEPSG(wgs84, 4326);
  OGRLayerH layer = GDALDatasetCreateLayer(file, "fixes", wgs84, wkbPoint25D, nullptr);
  for (const auto& [name, type] : fields) {
    OGRFieldDefnH field = OGR_Fld_Create(name, type);
    OGR_L_CreateField(layer, field, false);
    OGR_Fld_Destroy(field);
  }
  GDALDatasetStartTransaction(file, false);
  for (int i = 0; i < kFixes; ++i) {
    OGRFeatureH feature = OGR_F_Create(OGR_L_GetLayerDefn(layer));
    const double x = 11.5 + std::cos(i / 6000.0) / 100, y = 48.1 + std::sin(i / 6000.0) / 100, z = 600 + i / 1e4;
    OGR_F_SetFieldInteger(feature, 0, i + 1);
    OGR_F_SetFieldDateTimeEx(feature, 1, 2023, 12, 22, i / 36'000 % 24, i / 600 % 60, static_cast<float>(i % 600) / 10,
                             100);
    const double reals[] = {387'281'618 + i / 10.0, y, x, z, z - 46.9};
    for (int field = 0; field < 5; ++field) OGR_F_SetFieldDouble(feature, 2 + field, reals[field]);
    OGR_F_SetFieldString(feature, 7, "fixed");
    OGR_F_SetFieldInteger(feature, 8, 12);
    OGR_F_SetFieldDouble(feature, 9, 0.8);
    for (int field = 10; field < 15; ++field) OGR_F_SetFieldNull(feature, field);
    OGRGeometryH point = OGR_G_CreateGeometry(wkbPoint25D);
    OGR_G_SetPoint(point, 0, x, y, z);
    OGR_F_SetGeometryDirectly(feature, point);
    if (OGR_L_CreateFeature(layer, feature) != OGRERR_NONE) std::abort();
    OGR_F_Destroy(feature);
  }
  GDALDatasetCommitTransaction(file);
  OSRRelease(wgs84);
  GDALClose(file);
}

}  // namespace

// Ours includes reading the log, and its other layers.
Row WritingGeoPackage(const Plan&) {
  const auto folder = std::make_shared<ScratchFolder>();
  const auto log = std::make_shared<GgaFile>(kFixes);
  // The log jumps back once in 100,000 fixes: results are in doubt, and the exit code is 4.
  const std::string run = KVMISSION_PROGRAM " run --trajectory '" + log->Path().string() +
                          "' --date 2023-12-22 --outputs gpkg --overwrite -o '" + (*folder / "out").string() +
                          "' || [ $? = 4 ]";
  const Side peer = ProcessorTime([=] {
    std::filesystem::remove(*folder / "peer.gpkg");
    WriteByGdal((*folder / "peer.gpkg").string());
  });
  return {{"GeoPackage of 1,000,000 fixes",
           "GDAL's loop in C",
           AtMost(1.2),
           peer,
           ProcessorTime([=, inputs = log] { Run(run); }),
           {},
           0,
           true}};
}
