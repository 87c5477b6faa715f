#include <gtest/gtest.h>

#include <string>

#include "KVUtilities.h"
#include "platform/FileNames.h"
#include "support/GeodeticFolder.h"

namespace {

TEST(Descriptions, ASystemIsDescribedByCodeOrText) {
  const GeodeticFolder data("EGM96 height,egm96_15.gtx\nDHHN2016 height,absent.gtx\n");
  constexpr double kWgs84 = 6378137.0, kBessel = 6377397.155;
  struct {
    std::wstring definition;
    std::wstring name;  // empty for what is no system
    bool isGeographic = false, isNorthingFirst = false, isOrthometric = false;
    std::wstring grid = L"";
    double semiMajorAxis = kWgs84;
  } const rows[] = {
      {L"EPSG:32633", L"WGS 84 / UTM zone 33N"},
      {L"epsg:32633+5773", L"WGS 84 / UTM zone 33N + EGM96 height", false, false, true, L"egm96_15.gtx"},
      {L"EPSG:4326", L"WGS 84", true},
      {L"EPSG:4979", L"WGS 84", true},
      {L"EPSG:31468", L"DHDN / 3-degree Gauss-Kruger zone 4", false, true, false, L"", kBessel},
      {L"EPSG:3035+5773", L"ETRS89-extended / LAEA Europe + EGM96 height", false, true, true, L"egm96_15.gtx"},
      {L"EPSG:3031", L"WGS 84 / Antarctic Polar Stereographic"},  // both axes point north, the first one is the easting
      {L"EPSG:32661", L"WGS 84 / UPS North (N,E)", false, true},
      {L"EPSG:25832+7837", L"ETRS89 / UTM zone 32N + DHHN2016 height", false, false, true},
      {L"GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137.0,298.257223563]],"
       L"PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]]",
       L"WGS 84", true},
      {L"EPSG:99999999", L""},
      {L"EPSG:5773", L""},  // heights alone
      {L"+proj=utm +zone=33 +nadgrids=a:b", L""},
      {L"EPSG:", L""},
      {L"no system", L""},
      {L"", L""},
      {L"http://localhost/system", L""},
      {data.Path(L"system.wkt"), L""},  // no files either
  };
  for (const auto& row : rows) {
    std::wstring error = L"left over";
    const tagKVCoordinateSystem system = KVUtilities::DescribeCoordinateSystem(row.definition, error);
    const std::string narrow = kv::Utf8FromWide(row.definition);
    EXPECT_EQ(error, row.name.empty() ? L"This is no coordinate system with a horizontal part." : L"");
    EXPECT_EQ(std::wstring(system.Name), row.name) << narrow;
    EXPECT_EQ(system.Wkt.IsEmpty(), row.name.empty());
    if (row.name.empty()) continue;
    EXPECT_EQ(system.IsGeographic, row.isGeographic) << narrow;
    EXPECT_EQ(system.IsNorthingFirst, row.isNorthingFirst) << narrow;
    EXPECT_EQ(system.IsOrthometric, row.isOrthometric) << narrow;
    EXPECT_EQ(system.GeoidGrid, row.grid.c_str()) << narrow;
    EXPECT_EQ(system.SemiMajorAxis, row.semiMajorAxis) << narrow;
    const std::wstring esri(system.EsriWkt);
    EXPECT_TRUE(esri.starts_with(L"PROJCS[") || esri.starts_with(L"GEOGCS[")) << narrow;
    EXPECT_NE(esri.find(L"DATUM[\"D_"), std::wstring::npos) << narrow;
  }
}

TEST(Descriptions, MissingDataAreNotTheDefinitionsFault) {
  const TempFolder folder;
  const ScopedVariable root("MAPHUB_CONFIG_FILES_PATH", folder.Path().string().c_str());
  std::wstring error;
  EXPECT_TRUE(KVUtilities::DescribeCoordinateSystem(L"EPSG:2985", error).Wkt.IsEmpty());
  EXPECT_EQ(error, L"There is no proj.db in " + folder.Wide() + L"\\Norvane\\share\\proj");
}

TEST(Descriptions, TheDataInUseAreToldWithTheirGrids) {
  const GeodeticFolder data("Earth,egm96_15.gtx\nno entry\nMoon,absent.gtx\n,\n");
  std::wstring error = L"left over";
  const tagKVGeodeticData found = KVUtilities::DescribeGeodeticData(error);
  EXPECT_EQ(error, L"");
  EXPECT_TRUE(kv::IsSameFile(std::wstring(found.DataRoot) + L"share/proj/proj.db", data.Path(L"proj.db")));
  EXPECT_EQ(std::wstring(found.GdalVersion).find(L"3."), 0u);
  ASSERT_EQ(found.Grids.size(), 3u);
  EXPECT_EQ(found.Grids[0].VerticalSystem, L"Earth");
  EXPECT_EQ(found.Grids[1].File, L"absent.gtx");
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(found.Grids[i].Exists, i == 0);
}

}  // namespace
