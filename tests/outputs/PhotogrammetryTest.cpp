#include "outputs/photogrammetry/Photogrammetry.h"

#include <KVUtilities.h>
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

#include "outputs/Markup.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

PhotoPlace PlaceOf(const char* name, double longitude, double latitude, double height) {
  PhotoPlace place;
  place.name = name;
  place.x = place.longitude = longitude, place.y = place.latitude = latitude, place.z = place.height = height;
  return place;
}

/// A photo of which everything is known, one without angles, and one without either.
CameraPlaces Camera() {
  CameraPlaces camera;
  camera.system = "EPSG:4326", camera.heights = "heights above the ellipsoid";
  camera.photos = {PlaceOf("a.jpg", 9.5, -47.25, 512.34567), PlaceOf("b.jpg", 9.6, -47.26, 0),
                   PlaceOf("\"c\\.jpg", 9.7, -47, -1)};
  camera.photos[0].attitude = {-1.5, 2.25, 359.5};
  camera.photos[0].time = Instant{std::chrono::milliseconds{1500}};
  for (int i : {0, 1})
    camera.photos[static_cast<std::size_t>(i)].horizontal = 0.012,
    camera.photos[static_cast<std::size_t>(i)].vertical = 0.02;
  return camera;
}

// Expected lines are written by the rules of the readers' documentation: order of columns, separators, what may be missing.
TEST(Photogrammetry, EachReaderGetsItsColumns) {
  CameraPlaces metres = Camera();
  metres.isGeographic = false, metres.system = "EPSG:25832";
  metres.photos.erase(metres.photos.begin() + 1, metres.photos.end());
  metres.photos[0].x = 512345.67891, metres.photos[0].y = 5251234.5;
  struct {
    const char* name;
    std::string text;
    const char* expected;
  } const rows[] = {
      {"geo.txt", OdmGeoText(Camera()),
       "EPSG:4326\n"
       "a.jpg 9.500000000 -47.250000000 512.3457 359.5000 2.2500 -1.5000 0.0120 0.0200\n"
       "b.jpg 9.600000000 -47.260000000 0.0000 nan nan nan 0.0120 0.0200\n"
       "\"c\\.jpg 9.700000000 -47.000000000 -1.0000\n"},
      {"metashape", MetashapeText(Camera()),
       "# EPSG:4326, heights above the ellipsoid\n"
       "#Label,Longitude,Latitude,Altitude,Yaw,Pitch,Roll,Accuracy XY,Accuracy Z\n"
       "a.jpg,9.500000000,-47.250000000,512.3457,359.5000,2.2500,-1.5000,0.0120,0.0200\n"
       "b.jpg,9.600000000,-47.260000000,0.0000,,,,0.0120,0.0200\n"
       "\"c\\.jpg,9.700000000,-47.000000000,-1.0000,,,,,\n"},
      {"pix4d, latitude first", Pix4dText(Camera()),
       "#imagename,latitude,longitude,altitude\n"
       "a.jpg,-47.250000000,9.500000000,512.3457\n"
       "b.jpg,-47.260000000,9.600000000,0.0000\n"
       "\"c\\.jpg,-47.000000000,9.700000000,-1.0000\n"},
      {"pix4d, easting first", Pix4dText(metres),
       "#imagename,X,Y,Z,yaw,pitch,roll,accuracy horizontal,accuracy vertical\n"
       "a.jpg,512345.6789,5251234.5000,512.3457,359.5000,2.2500,-1.5000,0.0120,0.0200\n"},
      {"opensfm", OpensfmText(Camera()),
       "{\n"
       "  \"a.jpg\": {\"gps\": {\"latitude\": -47.250000000, \"longitude\": 9.500000000, \"altitude\": 512.3457, "
       "\"dop\": 0.0120}, \"capture_time\": 1.500},\n"
       "  \"b.jpg\": {\"gps\": {\"latitude\": -47.260000000, \"longitude\": 9.600000000, \"altitude\": 0.0000, "
       "\"dop\": 0.0120}},\n"
       "  \"\\\"c\\\\.jpg\": {\"gps\": {\"latitude\": -47.000000000, \"longitude\": 9.700000000, \"altitude\": "
       "-1.0000}}\n"
       "}\n"},
      {"missionplanner", MissionPlannerText(Camera()),
       "#name latitude/Y longitude/X height/Z yaw pitch roll\n"
       "a.jpg -47.250000000 9.500000000 512.3457 359.5000 2.2500 -1.5000\n"
       "b.jpg -47.260000000 9.600000000 0.0000\n"
       "\"c\\.jpg -47.000000000 9.700000000 -1.0000\n"},
  };
  for (const auto& [name, text, expected] : rows) EXPECT_EQ(text, expected) << name;
}

TEST(Photogrammetry, NamesThatWouldShiftColumnsDoNotFit) {
  struct {
    const char* name;
    bool blanks, commas;
  } const rows[] = {
      {"a.jpg", true, true},
      {"Карта–€.jpg", true, true},
      {"a b.jpg", false, true},
      {"a,b.jpg", true, false},
      {"#a.jpg", false, false},
      {"a\nb.jpg", false, false},
      {"a\xC2\xA0"
       "b.jpg",
       false, true},
      {"a\"b.jpg", true, false},
      {"à\xE3\x80\x80.jpg", false, true},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(FitsBlanks(row.name), row.blanks) << row.name;
    EXPECT_EQ(FitsCommas(row.name), row.commas) << row.name;
  }
}

TEST(Photogrammetry, SystemsAreNamedByTheirHorizontalPart) {
  struct {
    const wchar_t* system;
    const char* expected;
  } const rows[] = {{L"EPSG:4326", "EPSG:4326"},
                    {L"EPSG:25832", "EPSG:25832"},
                    {L"EPSG:32632+5773", "EPSG:32632"},
                    {L"EPSG:4326+5773", "EPSG:4326"}};
  for (const auto& row : rows) {
    std::wstring error;
    const auto system = KVUtilities::DescribeCoordinateSystem(row.system, error);
    ASSERT_EQ(error, L"");
    EXPECT_EQ(SystemText(Utf8(std::wstring(system.Wkt.GetString()))), row.expected);
  }
  std::wstring error;
  const auto own = KVUtilities::DescribeCoordinateSystem(
      L"PROJCS[\"own\",GEOGCS[\"WGS 84\",DATUM[\"WGS_1984\",SPHEROID[\"WGS "
      L"84\",6378137,298.257223563]],PRIMEM[\"Greenwich\",0],"
      L"UNIT[\"degree\",0.0174532925199433]],PROJECTION[\"Transverse_Mercator\"],PARAMETER[\"latitude_of_origin\",0],"
      L"PARAMETER[\"central_meridian\",9.37],PARAMETER[\"scale_factor\",1],PARAMETER[\"false_easting\",1000],"
      L"PARAMETER[\"false_northing\",0],UNIT[\"metre\",1]]",
      error);
  ASSERT_EQ(error, L"");
  EXPECT_NE(SystemText(Utf8(std::wstring(own.Wkt.GetString()))).find("+proj=tmerc +lat_0=0 +lon_0=9.37"),
            std::string::npos);
}

TEST(Markup, NamesStayText) {
  EXPECT_EQ(XmlText("<a href='x'>\"&]]>\x01\xEF\xBF\xBF"),
            "&lt;a href='x'&gt;&quot;&amp;]]&gt;\xEF\xBF\xBD\xEF\xBF\xBD");
}

}  // namespace
}  // namespace kv::mission
