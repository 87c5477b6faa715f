#pragma once

#include <string>

/// WKT1 of coordinate systems, put together for tests.
inline const std::string kGeographic =
    R"(GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563]],PRIMEM["Greenwich",0],)"
    R"(UNIT["degree",0.0174532925199433],AXIS["Latitude",NORTH],AXIS["Longitude",EAST]])";
inline const std::string kUtm33 =
    R"(PROJCS["WGS 84 / UTM zone 33N",GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563]],)"
    R"(PRIMEM["Greenwich",0],UNIT["degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],)"
    R"(PARAMETER["latitude_of_origin",0],PARAMETER["central_meridian",15],PARAMETER["scale_factor",0.9996],)"
    R"(PARAMETER["false_easting",500000],PARAMETER["false_northing",0],UNIT["metre",1],AXIS["Easting",EAST],)"
    R"(AXIS["Northing",NORTH]])";

/// @param grids  of the extension PROJ4_GRIDS; empty for none
inline std::string Compound(const std::string& name, const std::string& horizontal, int datumClass,
                            const std::string& grids = {}) {
  const std::string extension = grids.empty() ? "" : R"(,EXTENSION["PROJ4_GRIDS",")" + grids + R"("])";
  return "COMPD_CS[\"" + name + "\"," + horizontal + R"(,VERT_CS["Height",VERT_DATUM["Mean sea",)" +
         std::to_string(datumClass) + extension + R"(],UNIT["metre",1],AXIS["Up",UP]]])";
}
inline std::string OnUtm33(const std::string& name, int datumClass, const std::string& grids = {}) {
  return Compound(name, kUtm33, datumClass, grids);
}
