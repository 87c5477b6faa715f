#pragma once

#include <ogr_spatialref.h>

#include <string>

/// Coordinate systems and their WKT in UTF-8.
namespace kv {

inline constexpr const char* kWkt1 = "WKT1";
inline constexpr const char* kWkt2 = "WKT2";
inline constexpr const char* kEsriWkt = "WKT1_ESRI";

/// Reads a coordinate system from WKT1, WKT2 or ESRI's dialect, recognised by a datum name that begins with "D_".
OGRErr ImportWkt(const std::string& wkt, OGRSpatialReference& system);

/// @param format  GDAL's name of the format: `kWkt1`, `kWkt2` or `kEsriWkt`
/// @param wkt     empty on failure, and when the format cannot express the system
OGRErr ExportWkt(const OGRSpatialReference& system, const char* format, std::string& wkt);

/// Writes WKT1 if that can express the system, else WKT2.
OGRErr ExportWkt(const OGRSpatialReference& system, std::string& wkt);

/// Whether the system is vertical or has three axes.
bool IsThreeDimensional(const OGRSpatialReference& system);

/// Whether a system combines a horizontal and a vertical one. A geographic system with ellipsoidal heights does not
/// count: it is a plain three-dimensional system, whatever its WKT1 says.
bool IsCompound(const OGRSpatialReference& system);

/// What heights refer to, by the datum classes of WKT1's VERT_DATUM; others exist.
enum VerticalDatumClass : int { kEllipsoidal = 2002, kOrthometric = 2005 };

/// The vertical datum's class of a three-dimensional system; 0 when it has none. A system that is not compound counts
/// as ellipsoidal, on purpose even a vertical one: its callers get their heights back unchanged.
int VerticalClassOf(const OGRSpatialReference& system);

/// Path of the vertical datum in a system.
inline constexpr const char* kVerticalDatum = "VERT_CS|VERT_DATUM";

}  // namespace kv
