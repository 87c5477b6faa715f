#include <gtest/gtest.h>

#include "outputs/Markup.h"
#include "outputs/QgisProject.h"
#include "outputs/QgisStyles.h"

namespace kv::mission {
namespace {

TEST(Xml, HoldsAnyText) {
  struct {
    const char* text;
    const char* xml;
  } const rows[] = {{"a<b>&\"'", "a&lt;b&gt;&amp;&quot;'"},
                    {"]]>\n\r\t", "]]&gt;&#10;&#13;&#9;"},
                    {"Карта – €😀", "Карта – €😀"},
                    {"\x01\x1f\x7f", "\uFFFD\uFFFD\x7f"},
                    {"\uFFFE\uFFFF\uFFFD", "\uFFFD\uFFFD\uFFFD"},
                    {"\xEF\xBF", "\xEF\xBF"}};
  for (const auto& [text, xml] : rows) EXPECT_EQ(XmlText(text), xml);
}

TEST(QgisProject, TakesTheUtmZoneInTheMiddle) {
  const struct {
    double west, south, east, north;
    const char* system;
  } rows[] = {{9.4, 47.6, 9.5, 47.7, "EPSG:32632"},
              {-70.7, -33.5, -70.6, -33.4, "EPSG:32719"},
              {11.9, 1, 12.2, 2, "EPSG:32633"},
              {-180, -90, -180, -90, "EPSG:32701"},
              {180, 90, 180, 90, "EPSG:32660"},
              {-179.9, 10, 179.99, 11, "EPSG:32660"},
              {-1e300, -1e300, 1e300, 1e300, "EPSG:32660"}};
  Mission mission;
  EXPECT_NE(QgisProjectXml(mission, "", {}).find("EPSG:4326"), std::string::npos);
  for (const auto& row : rows) {
    mission.photoBounds = {row.west, row.south, 0, row.east, row.north, 0};
    EXPECT_NE(QgisProjectXml(mission, "", {}).find(row.system), std::string::npos) << row.system;
  }
}

TEST(QgisProject, HasTheLayersThatThereAreAndNamesAsText) {
  const std::string xml = QgisProjectXml({}, "<a b=\"&\">", {"gaps", "layer_styles", "photos"});
  for (const char* part : {"<title>&lt;a b=&quot;&amp;&quot;&gt;</title>", "layername=photos<", "layername=gaps<"})
    EXPECT_NE(xml.find(part), std::string::npos) << part;
  for (const char* part : {"layername=fixes", "layername=layer_styles", "TemporalRange>"})
    EXPECT_EQ(xml.find(part), std::string::npos) << part;
}

TEST(QgisStyles, KnowTheLimitsOfTheRun) {
  Mission mission;
  mission.settings.blurFactor = 0.5;
  mission.cameras.resize(2);
  mission.cameras[0].number = 1, mission.cameras[1].number = 2;
  mission.cameras[1].sharpness.emplace().distribution = {1, 20, 30, 40, 50};
  const std::string qml = ShapefileQml("photos", mission);
  for (const char* numbers : {"array(NULL, 15)", "array(NULL, 20)", "array(NULL, 30)", "array(NULL, 40)"})
    EXPECT_NE(qml.find(numbers), std::string::npos) << numbers;
}

}  // namespace
}  // namespace kv::mission
