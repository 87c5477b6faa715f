#pragma once

#include <KVMission.h>

#include <optional>
#include <string>
#include <vector>

/// Files with which programs for photogrammetry take over places. Each has a page in docs/formats that names its source
/// and its traps. What is not known is left out, or "nan" where a later column is known and the reader takes that.
namespace kv::mission {

using namespace KVMission;

/// Where a photo was taken.
struct PhotoPlace {
  std::string name;
  double x = 0, y = 0, z = 0;                  ///< in the system of the file; easting or longitude first
  double latitude = 0, longitude = 0;          ///< WGS 84
  double height = 0;                           ///< above the ellipsoid, or above the geoid if that is wanted
  std::optional<Attitude> attitude;            ///< of the sensor; with roll and pitch
  std::optional<double> horizontal, vertical;  ///< accuracy in metres, one sigma
  std::optional<Instant> time;
};

/// The photos of one camera, in the order of their events.
struct CameraPlaces {
  std::vector<PhotoPlace> photos;
  bool isGeographic = true;  ///< x and y are degrees
  std::string system;        ///< "EPSG:4326", or a PROJ string
  std::string heights;       ///< what z is above, in words
};

std::string OdmGeoText(const CameraPlaces& camera);
std::string MetashapeText(const CameraPlaces& camera);
std::string Pix4dText(const CameraPlaces& camera);
std::string OpensfmText(const CameraPlaces& camera);
std::string MissionPlannerText(const CameraPlaces& camera);

/// Whether a name can stand in a file whose columns are parted by blanks, or by commas, without quotes.
bool FitsBlanks(const std::string& name);
bool FitsCommas(const std::string& name);

/// The "EPSG:n" or the PROJ string of the horizontal part of a coordinate system; empty when it has neither.
std::string SystemText(const std::string& wkt);

}  // namespace kv::mission
