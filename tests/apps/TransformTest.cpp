#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/CommandTest.h"

namespace {

namespace fs = std::filesystem;

const std::string kRest = " 1 10 0.1 0.1 0.1 0 0 0 0.5 99.9\n";

/// A folder in which the command runs.
class TransformTest : public CommandTest {
 protected:
  void Prepare() override {
    temp_.Write("a.pos", "\xEF\xBB\xBF% header\n2200 345600.000 48.25 15.5 300.0" + kRest +
                             "2200 345600.200 48.25 15.6 300.0 \"q,\xE9 10 0.1 0.1 0.1 0 0 0 0.5 99.9\r\n");
  }
};

TEST_F(TransformTest, PrintsEastingsFirst) {
  // From cs2cs of PROJ 9.1 for 48.25 N, 15.5 E, 300 m.
  struct {
    const char* target;
    const char* place;
    const char* report;
  } const rows[] = {
      {"EPSG:31468", ",4760014.1529", "no geoid grid"},  // northing first
      {"EPSG:3035", ",4729208.8162", "no geoid grid"},
      {"EPSG:32633+5773", ",537117.141935,5344208.122025,253.365925,1,10", "geoid of the grid egm96_15.gtx"},
      {"EPSG:4326", ",15.5000000000,48.2500000000,300.000000,", "no geoid grid"},
  };
  for (const auto& [target, place, report] : rows) {
    ASSERT_EQ(Shell(std::string("LC_ALL=de_DE.UTF-8 $K transform a.pos --target ") + target), 0) << Errors();
    const std::string table = temp_.Read("out");
    const auto first = table.find("\n0,2,2022-03-09T23:59:42.000Z,330905600.000000,2200,345600.000,48.25,15.5,300.0");
    EXPECT_NE(table.find(place, first), std::string::npos) << table;
    EXPECT_NE(Errors().find(report), std::string::npos) << Errors();
    EXPECT_NE(table.find("\n1,3,2022-03-09T23:59:42.200Z,"), std::string::npos) << table;
    EXPECT_NE(table.find(",\"\"\"q,\xC3\xA9\",10,"), std::string::npos) << table;
  }
}

TEST_F(TransformTest, ExitCodesTellHowItWent) {
  // Of two returns at the end of a line one is its last column.
  const std::string fourteen = "2200 345600 48.25 15.5 300 6 7 8 9 10 11 12 13 14";
  temp_.Write("returns.pos", fourteen + " 5\n" + fourteen + " \r\r\n" + fourteen + " \r");
  temp_.Write("baseline.pos",
              "% e-baseline(m) n-baseline u-baseline\n% GPST e-baseline n-baseline u-baseline\n2200 1 2 3 4\n");
  temp_.Write("mixed.pos", temp_.Read("a.pos") + "2024/06/24 08:20:00 35.13 136.97 104.8" + kRest + "1917,26,22.4\n");
  // The transverse Mercator projection has no place for the point 90 degrees from its meridian on the equator.
  temp_.Write("far.pos", temp_.Read("a.pos") + "2200 345601 0 105 0" + kRest + "2200 345602 48.25 15.5 300" + kRest);
  const std::string layer = "$K transform a.pos --target EPSG:32633 -o p.shp && ";
  ExpectEach({
      {"$K transform a.pos --target EPSG:32633 -o p.shp", 0, ""},
      {layer + "$K transform a.pos --target EPSG:32633 -o p.shp", 1, "--overwrite"},
      {layer + "cp p.dbf before; $K transform baseline.pos --target EPSG:32633 -o p.shp --overwrite; code=$?\n"
               "cmp p.dbf before && exit $code",
       1, "baselines, and the header gives no reference position"},
      {"$K transform baseline.pos --target EPSG:32633 -o p.shp; code=$?; ls p.* || exit $code", 1, "baseline"},
      {layer + "ls p.dbf p.prj p.shp p.shx && $K transform a.pos --target p.prj -o p.shp --overwrite", 0, ""},
      {"$K transform mixed.pos --target EPSG:32633 -o p.csv", 3, "1 line left out, with fewer columns"},
      {"$K transform far.pos --target EPSG:32633 -o p.csv", 3, "line 4 cannot be transformed"},
      {"$K transform far.pos --target EPSG:32633 -o p.csv; $K transform /dev/stdin --target EPSG:32633 < p.csv", 1,
       "no sample in 3 lines"},
      {"$K transform a.pos --target EPSG:31468+5773 -o q.csv", 0, "not GRS80"},
      {"$K transform returns.pos --target EPSG:32633 -o r.csv && test $(grep -c ,14, r.csv) = 3", 0, ""},
      {"$K transform a.pos --target EPSG:25832+7837", 1, "grid is not there"},
      {"$K transform a.pos --target a.pos", 1, "a.pos: This is no coordinate system with a horizontal part."},
      {"$K transform a.pos --target EPSG:999999", 2, "neither a file nor a coordinate system"},
      {"$K transform a.pos --target EPSG:32633 -o p.txt", 2, ".shp, .csv or .xyz"},
      {"$K transform a.pos --target EPSG:32633 --json", 2, "--output"},
      {"$K transform none --target EPSG:32633", 1, "none: cannot be read"},
      {"cp a.pos in.csv; $K transform in.csv --target EPSG:32633 -o in.csv --overwrite; code=$?\n"
       "cmp a.pos in.csv && ! ls -A | grep kvmission- && exit $code",
       2, "overwrite this input"},
      {"$K transform a.pos --target EPSG:32633 > /dev/full", 1, "standard output"},
  });
}

TEST_F(TransformTest, ManyLinesAreTransformedInPiecesAndStayInOrder) {
  std::string content;
  for (int i = 0; i < 40'000; ++i) {
    const std::string time = "2200 " + std::to_string(i % 7 == 0 ? 604'000 - i : i) + ".25";
    content += i % 1000 == 0 ? "% comment\n" : time + " 48." + std::to_string(i) + " 15.5 300" + kRest;
  }
  temp_.Write("many.pos", content);
  temp_.Write("broken.pos", content + "2200 1 0 105 0" + kRest + content);  // a place that has no coordinates
  struct {
    const char* script;
    int code;
    const char* said;  // part of what is on standard error
  } const rows[] = {
      {"awk '/^2200/ {print n++ \",\" NR \",\" $2 \",\" $3}' many.pos > rows", 0, ""},
      {"$K transform many.pos --target EPSG:32633 --jobs 3 -o three.csv", 0, ""},
      {"tail -n +2 three.csv | cut -d, -f1,2,6,7 | cmp - rows", 0, ""},
      {"$K transform many.pos --target EPSG:32633 -o p.xyz", 0, ""},
      {"tail -n +2 three.csv | cut -d, -f10-12 | tr , ' ' | cmp - p.xyz", 0, ""},
      {"$K transform many.pos --target EPSG:32633 --jobs 1 | cmp - three.csv", 0, "39960 of 40000 lines"},
      {"$K transform broken.pos --target EPSG:32633 > broken.csv || cmp broken.csv three.csv", 0,
       "The 39960 samples before it are kept, 39961 samples left out"},
      {"$K transform broken.pos --target EPSG:32633 --jobs 2 -o broken.shp", 3, "line 40001 cannot be transformed"},
      {"test $(wc -c < broken.shx) = $((100 + 8 * 39960))", 0, ""},
  };
  for (const auto& [script, code, said] : rows) {
    EXPECT_EQ(Shell(script), code) << script << Errors();
    EXPECT_NE(Errors().find(said), std::string::npos) << script << Errors();
  }
}

TEST_F(TransformTest, ARunBringsThePosLayer) {
  const std::string fix = ",4815.000,N,01530.000,E,4,08,0.9,260.0,M,40.0,M,,\n";
  fs::create_directory(temp_.Path() / "m");
  temp_.Write("m/rover", "$GPZDA,235941,09,03,2022,00,00\n$GPGGA,235942" + fix + "$GPGGA,235943" + fix);
  temp_.Write("m/a.pos", temp_.Read("a.pos") + "2200 345600 95 15.6 300.0" + kRest);
  temp_.Write("m/mission.toml", "pos = \"a.pos\"\ntarget = \"utm.prj\"\n");
  ASSERT_EQ(Shell("$K transform a.pos --target EPSG:32633 -o m/utm.shp && $K run m -o o"), 3) << Errors();
  const Json summary = Summary();
  EXPECT_EQ(LayerOf(summary, "pos_points")["records"], 2);
  EXPECT_EQ(summary["pos"]["leftOut"]["outOfRange"], 1);
  EXPECT_EQ(summary["pos"]["geoidGrid"], nullptr);
  EXPECT_NEAR(summary["pos"]["bounds"]["west"], 537117.141935, 1e-5);
  EXPECT_NEAR(summary["pos"]["bounds"]["north"], 5344261.287374, 1e-5);
  EXPECT_EQ(temp_.Read("o/pos_points.prj"), temp_.Read("m/utm.prj"));
  EXPECT_EQ(Shell("$K run --trajectory m/rover --pos a.pos -o p"), 2) << Errors();
  EXPECT_EQ(Shell("$K run --trajectory m/rover --pos a.pos --target EPSG:1 -o p || [ -d p ]"), 1) << Errors();
}

TEST_F(TransformTest, InfoNamesGeodeticDataAndPosFiles) {
  ASSERT_EQ(Shell("$K info --json"), 0) << Errors();
  const Json data = Json::parse(temp_.Read("out"))[0];
  EXPECT_TRUE(IsUnderWine() || fs::exists(fs::path(data["dataRoot"].get<std::string>()) / "share/proj/proj.db"))
      << data;
  const Json egm96{{"verticalSystem", "EGM96 height"}, {"file", "egm96_15.gtx"}, {"present", true}};
  EXPECT_NE(std::find(data["geoidGrids"].begin(), data["geoidGrids"].end(), egm96), data["geoidGrids"].end()) << data;
  ASSERT_EQ(Shell("$K info a.pos --json"), 0) << Errors();
  const Json pos = Json::parse(temp_.Read("out"))[0];
  EXPECT_EQ(pos["kind"], "POS file");
  EXPECT_EQ(pos["lastWeek"], 2200);
  EXPECT_EQ(pos["samples"], 2);
  EXPECT_EQ(pos["bounds"]["east"], 15.6);
}

/// Files of public collections, when they are there. The numbers are those of their description.
TEST_F(TransformTest, RealFilesPass) {
  const fs::path folder = fs::path(SHARED_DATA_FOLDER) / "pos";
  if (!fs::exists(folder)) GTEST_SKIP() << "no shared data";
  struct {
    const char* name;
    int samples;
  } const rows[] = {{"rtklibpy_old_rover.pos", 63},
                    {"rtklibpy_py_0315f.pos", 4521},
                    {"ginav_tokyo3530_PPK.pos", 1059},        // ECEF
                    {"matrtklib_static_rover_rtk.pos", 301},  // dates
                    {"graphgnss_test_head200.pos", 175}};     // commas
  for (const auto& [name, samples] : rows) {
    EXPECT_EQ(Shell("$K transform --json -o o.csv --overwrite --target EPSG:4979 " + (folder / name).string()), 0);
    EXPECT_EQ(Json::parse(temp_.Read("out"))["transformed"], samples);
  }
}

}  // namespace
