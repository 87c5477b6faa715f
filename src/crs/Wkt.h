#pragma once

#include <ogr_spatialref.h>

#include <string>

/// Coordinate systems and their texts, which are UTF-8.
namespace kv {

inline constexpr const char* kWkt1 = "WKT1";
inline constexpr const char* kWkt2 = "WKT2";
inline constexpr const char* kEsriWkt = "WKT1_ESRI";

/// Reads a coordinate system from WKT1, WKT2 or ESRI's dialect, which is what a datum name that begins with "D_" tells.
OGRErr ImportWkt(const std::string& wkt, OGRSpatialReference& system);

/// @param format  of GDAL's names of formats: `kWkt1`, `kWkt2`, `kEsriWkt`
/// @param wkt     empty on failure, and where the format has no words for the system
OGRErr ExportWkt(const OGRSpatialReference& system, const char* format, std::string& wkt);

/// As WKT1 where that can say it, else as WKT2.
OGRErr ExportWkt(const OGRSpatialReference& system, std::string& wkt);

/// Vertical, or with three axes.
bool IsThreeDimensional(const OGRSpatialReference& system);

/// Horizontal and vertical system in one. An ellipsoidal vertical system does not count: joined with a geographic one
/// it is a plain three-dimensional system, whatever its WKT1 says.
bool IsCompound(const OGRSpatialReference& system);

/// What heights refer to, in the numbers of WKT1's VERT_DATUM; others exist.
enum VerticalDatumClass : int { kEllipsoidal = 2002, kOrthometric = 2005 };

/// The vertical datum's class of a three-dimensional system; 0 when it has none. What is not compound counts as
/// ellipsoidal, a system of heights alone too, odd as that is: callers that pass one get their heights back unchanged.
int VerticalClassOf(const OGRSpatialReference& system);

/// Path of the vertical datum in a system.
inline constexpr const char* kVerticalDatum = "VERT_CS|VERT_DATUM";

}  // namespace kv
