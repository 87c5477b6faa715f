#include <KVMission.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/TempFolder.h"

namespace {

using Json = nlohmann::json;

/// Whether a value has all that another one has; keys may be more.
bool Holds(const Json& whole, const Json& part) {
  if (part.is_primitive() || part.empty()) return whole == part;
  if (whole.type() != part.type() || (part.is_array() && whole.size() != part.size())) return false;
  for (const auto& [key, value] : part.items()) {
    if (part.is_object() && !whole.contains(key)) return false;
    if (!Holds(part.is_object() ? whole[key] : whole[std::stoul(key)], value)) return false;
  }
  return true;
}

TEST(Info, DescribesEveryKind) {
  // Bytes of a .shp header with file code, type 11 and bounds 1, 2, 3, 4, 5, 6.
  std::string shape("\0\0\x27\x0A", 4);
  shape.resize(32);
  shape += std::string("\x0B\0\0\0", 4);
  for (const char* bound : {"\0\0\0\0\0\0\xF0\x3F", "\0\0\0\0\0\0\0\x40", "\0\0\0\0\0\0\x08\x40",
                            "\0\0\0\0\0\0\x10\x40", "\0\0\0\0\0\0\x14\x40", "\0\0\0\0\0\0\x18\x40"})
    shape.append(bound, 8);
  shape.resize(100);
  const std::string fix = ",4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,\n";
  std::string beats;
  for (int second = 10; second < 30; ++second)
    beats += std::to_string(second) + ",1200" + std::to_string(second) + "061021\n";
  struct {
    const char* name;
    std::string content;
    const char* expected;  // a part of the description
  } const rows[] = {
      {"log", "$GPGGA,120000" + fix + "$GPGGA,120005" + fix,
       R"J({"kind": "trajectory log (NMEA)", "fixes": 2, "date": null, "first": "12:00:00.000",
           "gaps": [{"from": "12:00:00.000", "to": "12:00:05.000", "seconds": 5.0}]})J"},
      {"dated", "$GPGGA,120000" + fix + "$GPZDA,120001,01,05,2024,00,00\n",
       R"J({"date": "2024-05-01", "last": "2024-05-01T12:00:00.000Z", "gaps": [], "leftOut": {"otherSentences": {"ZDA": 1}}})J"},
      {"unfixed", "$GPGGA,,,,,,0,,,,M,,M,,\n",
       R"J({"kind": "trajectory log (NMEA)", "fixes": 0, "leftOut": {"noFix": 1}})J"},
      {"events", "0,120000010524\n1,1\n2,7\nx\n5,120005010524\n",
       R"J({"kind": "system event file", "heartbeats": 2, "eventsByCamera": {"1": 1, "7": 1}, "linesSkipped": 1,
           "heartbeatGaps": [{"seconds": 5.0}], "first": "2024-05-01T12:00:00.000Z", "last": "2024-05-01T12:00:05.000Z"})J"},
      {"box", "INFO,2024-05-01 11:59:00,CCU,31.5\nx\n",
       R"J({"kind": "housekeeping log", "entries": 1, "linesSkipped": 1, "last": "2024-05-01T11:59:00.000Z"})J"},
      {"240501_120000.jpg", "\xFF\xD8\xFF\xD9",
       R"J({"kind": "photo (JPEG)", "timeInName": "2024-05-01T12:00:00.000Z", "timeInExif": null})J"},
      {"layer.shp", shape,
       R"J({"kind": "Shapefile", "type": "PointZ", "records": null,
           "bounds": {"west": 1.0, "south": 2.0, "east": 3.0, "north": 4.0, "lowest": 5.0, "highest": 6.0}})J"},
      {"flight.MRK", "7 273854.474686 [2178] 1,N 1,E 1,V 37.5,Lat -122.4,Lon 20.5,Ellh 0 0 0 50,Q\nx\n",
       R"J({"kind": "drone timestamp file", "exposures": 1, "linesSkipped": 1, "leastPhotoNumber": 7,
           "first": "2021-10-06T04:03:56.474Z", "bounds": {"north": 37.5}})J"},
      {"tilt", "INFO,2021-10-06 12:00:00,31.5,2,0,1,3,0,0\n",
       R"J({"kind": "orientation sensor log", "entries": 1, "first": "2021-10-06T12:00:00.000Z"})J"},
      {"tilt2", "0,120000061021\n5,31.5,2,0,1,3,0,0\n9,120009061021\n",
       R"J({"kind": "orientation sensor log, stamped by the master clock", "entries": 1, "heartbeats": 2,
           "first": "2021-10-06T12:00:05.000Z"})J"},
      {"wide", "0,120000061021\n5,31,2,0,1,3,0,0,1,2,3,4,5,6,7\n9,120009061021\n",
       R"J({"kind": "orientation sensor log, stamped by the master clock", "entries": 1, "heartbeats": 2})J"},
      {"lost ends", "0,120000061021\n5,1,6,1,7,1,8,1\n8,1\n8,2\n9,120009061021\n",
       R"J({"kind": "system event file", "heartbeats": 2})J"},
      {"sparse", beats + "20,31.5,2,0,1,3,0,0\n",
       R"J({"kind": "orientation sensor log, stamped by the master clock", "entries": 1})J"},
      {"sbet", " TIME, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT\n (time in Sec)\n 5.5 48 11 500\n 6 x 11 500\n",
       R"J({"kind": "post-processed Applanix trajectory", "samples": 1, "dateInHeader": false, "first": null,
           "firstSecondsOfWeek": "5.5", "allRowsRead": false})J"},
      {"header",
       " Mapping frame datum: WGS84  ; Mapping frame projection : TM;\n TIME, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT\n"
       " (time in Sec)\n",
       R"J({"samples": 0, "dateInHeader": false, "mappingFrame": "", "last": null, "bounds": null})J"},
      {"framed",
       "\xEF\xBB\xBFMapping frame datum: R\xE9seau;  Mapping frame projection : TM;\n Mapping frame epoch: "
       "2018.597260;\n"
       " Mapping frame datum: none;\n TIME, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT\n (time in Sec)\n 5.5 48 11 500\n",
       "{\"mappingFrame\": \"R\xC3\xA9seau, TM\"}"},
      {"empty", "", R"J({"kind": "unknown", "bytes": 0})J"},
  };
  const TempFolder folder;
  KVMission::Observer nobody;
  for (const auto& [name, content, expected] : rows) {
    folder.Write(name, content);
    const auto description = KVMission::DescribeFile(folder.Path() / name, 2.0, nobody);
    const Json json = Json::parse(KVMission::DescriptionJson({description}))[0];
    EXPECT_TRUE(Holds(json, Json::parse(expected))) << name << json.dump();
    EXPECT_NE(KVMission::DescriptionText(description).find(description.kind), std::string::npos);
  }
  EXPECT_THROW(KVMission::DescribeFile(folder.Path(), 2.0, nobody), KVMission::Failure);
}

}  // namespace
