#include <KVMission.h>
#include <gdal.h>
#include <gtest/gtest.h>
#include <ogr_api.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <memory>

#include "support/TempFolder.h"
#include "support/TestJob.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr Instant kNoon{std::chrono::sys_days{std::chrono::year{2024} / 5 / 1} + std::chrono::hours{12} +
                        std::chrono::milliseconds{59'999}};

tagKVTrajectoryObs FixAt(int second, double longitude) {
  tagKVTrajectoryObs fix;
  fix.TimeUTC = ToFileTime(kNoon + std::chrono::seconds{second});
  fix.Latitude = 48, fix.Longitude = longitude, fix.Altitude = 500;
  return fix;
}

/// Builds of GDAL may lack it.
bool HasKml() {
  GDALAllRegister();
  return GDALGetDriverByName("LIBKML") != nullptr;
}

/// A photo of which much is known, one of which nothing is, and a dropped exposure; a trajectory with a gap.
Mission MissionIn(const fs::path& folder) {
  Mission mission;
  mission.settings.output = folder / "out";
  mission.settings.outputs = {"gpkg", "geojson", "fgb", "gpx", "csv"};
  if (HasKml()) mission.settings.outputs.push_back("kml");
  mission.events.emplace();
  Trajectory& trajectory = mission.trajectory.emplace();
  trajectory.fixes = {FixAt(0, 11), FixAt(1, 11.0001), FixAt(10, 11.0002), FixAt(11, 11.0003)};
  trajectory.gaps = {{kNoon + std::chrono::seconds{1}, kNoon + std::chrono::seconds{10}, 48, 11.0001}};
  trajectory.last = kNoon + std::chrono::seconds{11};
  for (const wchar_t* name : {L"<b>&\"'.jpg", L"]]>\u042F\U0001F4F7.jpg", L""}) {
    Exposure& exposure = mission.exposures.emplace_back();
    exposure.event.Type = 2, exposure.event.CameraID = 1;
    exposure.event.Latitude = 48, exposure.event.Longitude = 11, exposure.event.Altitude = 500;
    exposure.event.MasterTick = 4'000'000'000.0;
    if (*name) exposure.event.PhotoPath = CStringW(((folder / "cam1").wstring() + L"/" + name).c_str());
  }
  Exposure& known = mission.exposures[0];
  known.time = kNoon, known.blurred = true, known.sharpnessRank = 0, known.event.Sharpness = 12;
  known.quality = {PositionQuality::Fixed, 17, 0.7f, 0.012f, 0.02f};
  known.attitude = Attitude{1, 2, 3}, known.attitudeQuality = AttitudeQuality::Track;
  mission.exposures[2].photoNumber = 7;  // of a drone
  mission.exposures[2].drop = Drop{DropCode::InsideGap, 9};
  return mission;
}

/// The fields of a feature as text; "-" for NULL.
/// @param layer  its name, or a query
std::map<std::string, std::string> FieldsOf(const fs::path& file, const char* layer, int feature) {
  std::map<std::string, std::string> fields;
  const std::unique_ptr<void, decltype(&GDALClose)> dataset(
      GDALOpenEx(file.string().c_str(), GDAL_OF_VECTOR, nullptr, nullptr, nullptr), GDALClose);
  const bool isQuery = std::string_view(layer).starts_with("SELECT");
  const OGRLayerH table = !dataset  ? nullptr
                          : isQuery ? GDALDatasetExecuteSQL(dataset.get(), layer, nullptr, nullptr)
                                    : GDALDatasetGetLayerByName(dataset.get(), layer);
  if (!table) return fields;
  OGRFeatureH found = nullptr;
  for (int i = 0; i <= feature; ++i) {
    OGR_F_Destroy(found);
    found = OGR_L_GetNextFeature(table);
  }
  fields["features"] = std::to_string(OGR_L_GetFeatureCount(table, true));
  for (int i = 0; found && i < OGR_F_GetFieldCount(found); ++i)
    fields[OGR_Fld_GetNameRef(OGR_F_GetFieldDefnRef(found, i))] =
        OGR_F_IsFieldSetAndNotNull(found, i) ? OGR_F_GetFieldAsString(found, i) : "-";
  OGR_F_Destroy(found);
  if (isQuery) GDALDatasetReleaseResultSet(dataset.get(), table);
  return fields;
}

TEST(VectorOutputs, KnowAndDoNotKnow) {
  const TempFolder temp;
  const Mission mission = MissionIn(temp.Path());
  Observer nobody;
  WriteLayers(mission, mission.settings.output, false, nobody);
  struct {
    const char* file;
    const char* layer;
    int feature;
    std::map<std::string, std::string> fields;
  } const rows[] = {
      {"mission.gpkg",
       "photos",
       0,
       {{"features", "2"},
        {"time", "2024/05/01 12:00:59.999+00"},
        {"photo", "<b>&\"'.jpg"},
        {"photo_relative", "../cam1/<b>&\"'.jpg"},
        {"master_tick", "4000000000"},
        {"blurred", "1"},
        {"sharpness_percentile", "0"},
        {"position_quality", "fixed"},
        {"horizontal_accuracy", "0.012"},
        {"hdop", "0.7"},
        {"roll", "-"},  // a heading from the track says nothing of it
        {"heading", "3"},
        {"attitude_source", "track"}}},
      {"mission.gpkg",
       "photos",
       1,
       {{"time", "-"},
        {"photo", "]]>\xD0\xAF\xF0\x9F\x93\xB7.jpg"},
        {"gps_seconds", "-"},
        {"time_difference", "-"},
        {"sharpness", "-"},
        {"blurred", "-"},
        {"position_quality", "-"},
        {"horizontal_accuracy", "-"},
        {"satellites", "-"},
        {"hdop", "-"},
        {"heading", "-"}}},
      {"mission.gpkg",
       "dropped",
       0,
       {{"features", "1"},
        {"photo", "-"},
        {"master_tick", "-"},
        {"reason_code", "inside-gap"},
        {"reason", "no place: inside a gap of 9.0 s"}}},
      {"mission.gpkg", "trajectory", 1, {{"features", "2"}, {"fixes", "2"}, {"first", "2024/05/01 12:01:09.999+00"}}},
      {"mission.gpkg", "gaps", 0, {{"features", "1"}, {"seconds", "9"}, {"kind", "gap"}}},
      {"mission.gpkg", "fixes", 3, {{"features", "4"}, {"height_above_geoid", "-"}}},
      {"geojson/photos.geojson",
       "photos",
       0,
       {{"features", "2"}, {"time", "2024/05/01 12:00:59.999+00"}, {"roll", "-"}}},
      {"fgb/photos.fgb", "photos", 0, {{"features", "2"}}},
      {"csv/photos.csv",
       "photos",
       0,
       {{"features", "2"}, {"time", "2024-05-01T12:00:59.999Z"}, {"master_tick", "4000000000"}}},
      {"mission.kml", "Photos", 0, {{"features", "2"}, {"Name", "<b>&\"'.jpg"}}},
      {"mission.kml", "Photos", 1, {{"Name", "]]\u200B>\xD0\xAF\xF0\x9F\x93\xB7.jpg"}}},
      {"mission.gpx", "track_points", 0, {{"features", "4"}}},
  };
  for (const auto& row : rows) {
    if (!HasKml() && row.file == std::string("mission.kml")) continue;
    auto fields = FieldsOf(temp.Path() / "out" / row.file, row.layer, row.feature);
    for (const auto& [name, value] : row.fields)
      EXPECT_EQ(fields[name], value) << row.file << ' ' << row.layer << ' ' << name;
  }
  EXPECT_EQ(FieldsOf(temp.Path() / "out/mission.gpkg", "SELECT * FROM gpkg_data_columns WHERE column_name = 'hdop'",
                     0)["features"],
            "3");
  EXPECT_EQ(FieldsOf(temp.Path() / "out/mission.gpkg",
                     "SELECT name FROM gpkg_data_columns WHERE column_name = 'length'", 0)["name"],
            "Length in space [m]");
  EXPECT_EQ(FieldsOf(temp.Path() / "out/mission.gpkg", "SELECT * FROM rtree_fixes_geom", 0)["features"], "4");
  const auto geojson = nlohmann::json::parse(temp.Read("out/geojson/dropped.geojson"));
  EXPECT_FALSE(geojson.contains("crs"));  // RFC 7946 has WGS 84 alone, longitude first
  EXPECT_EQ(geojson["features"][0]["geometry"],
            nlohmann::json::parse(R"({"type": "Point", "coordinates": [11.0, 48.0, 500.0]})"));
  if (!HasKml()) return;
  const std::string kml = temp.Read("out/mission.kml");
  EXPECT_EQ(kml.find("]]>\xD0\xAF"), kml.npos);  // would end a CDATA section
  EXPECT_NE(kml.find("../cam1/%3Cb%3E%26%22%27.jpg"), kml.npos);
}

}  // namespace
}  // namespace kv::mission
