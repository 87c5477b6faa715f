#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "field/DroneTimestamps.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

/// A line of a timestamp file in week 2178, which began on 2021-10-03; GPS is 18 s ahead of UTC.
std::string Exposure(int number, const char* seconds, const char* latitude) {
  return std::to_string(number) + "\t" + seconds + "\t[2178]\t   -11,N\t    13,E\t   -25,V\t" + latitude +
         ",Lat\t-122.4,Lon\t20.5,Ellh\t0.1, 0.1, 0.2\t50,Q\r\n";
}

/// An export whose header has no date; 10 s between its rows, 0.00001 degrees and 2 m away from the exposures.
const char* const kExport =
    " Mapping frame datum: WGS84  ; Mapping frame projection : TM;\n TIME, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT\n\n"
    "  (time in Sec, ...)\n\n 273850.0 37.80001 -122.4 22.5\n 273860.0 37.80011 -122.4 22.5\n";

/// A folder in which the command runs, with a drone mission "m": exposures 1, 2, 4 and 5, photos 1, 2, 5 and 9.
class DroneTest : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directory(temp_.Path() / "m");
    temp_.Write("m/flight.MRK", Exposure(1, "273851.0", "37.80001") + Exposure(2, "273855.0", "37.80005") +
                                    "3\t273856\r\n" + Exposure(4, "273854.474686", "37.79468641") +
                                    Exposure(5, "273861.0", "37.80011"));
    for (const char* name : {"DJI_0001_V", "DJI_0001_T", "DJI_0002_V", "DJI_0005_V", "DJI_0009_V"})
      temp_.Write(std::string("m/") + name + ".JPG", "x");
    temp_.Write("sbet.txt", kExport);
    temp_.Write("bad.MRK", "no exposure\n");
  }
  /// @param script  shell commands with kvmission as $K; what they write is in the files "out" and "err"
  int Shell(const std::string& script) {
    const std::string folder = temp_.Path().string();
    temp_.Write("script", "cd '" + folder + "'\nK='" KVMISSION_PROGRAM "'\n" + script + "\n");
    const int status =
        std::system(("sh '" + folder + "/script' > '" + folder + "/out' 2> '" + folder + "/err'").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  Json Summary() { return Json::parse(temp_.Read("o/summary.json")); }
  std::string Errors() { return temp_.Read("err"); }

  TempFolder temp_;
};

TEST_F(DroneTest, PhotosFindTheirExposuresByNumber) {
  EXPECT_EQ(Shell("$K run m -o o"), 3) << Errors();
  const Json summary = Summary();
  for (const char* absent : {"trajectory", "events", "stations", "positions"}) EXPECT_EQ(summary[absent], nullptr);
  EXPECT_EQ(summary["mrk"]["linesSkipped"], 1);
  EXPECT_EQ(summary["mrk"]["exposures"], 4);
  const Json& camera = summary["cameras"][0];
  EXPECT_EQ(camera["pairedBy"], "number");
  EXPECT_EQ(camera["paired"], 3);
  EXPECT_EQ(camera["photosWithoutEvent"], (Json{"DJI_0009_V.JPG"}));
  EXPECT_EQ(camera["sharpness"]["ungraded"].size(), 3u);  // none of the photos is a picture
  EXPECT_EQ(summary["dropped"], Json::parse(R"([{"camera": 1, "photoNumber": 4, "time": "2021-10-06T04:03:56.474Z",
                                                 "reason": "no photo"}])"));
  ASSERT_EQ(summary["layers"].size(), 1u);
  EXPECT_EQ(summary["layers"][0]["records"], 3);
  EXPECT_NE(temp_.Read("o/photos.dbf").find((temp_.Path() / "m/DJI_0005_V.JPG").string()), std::string::npos);
  EXPECT_NE(temp_.Read("out").find("number 4"), std::string::npos);
}

TEST_F(DroneTest, PlacesComeFromThePostProcessedTrajectoryWhenWanted) {
  const std::string run = "$K run m -o o --overwrite --no-sharpness --applanix sbet.txt --max-gap 10 --position ";
  for (const std::string position : {"mrk", "pos"}) {
    EXPECT_EQ(Shell(run + position), 3) << Errors();
    const Json summary = Summary();
    EXPECT_EQ(summary["positions"]["used"], position);
    EXPECT_EQ(summary["positions"]["compared"], 3);
    EXPECT_EQ(summary["positions"]["outside"], 1);
    // 1 and 2 are 0.00001 degrees away; a degree of latitude has 110,993 m there (tables of the ellipsoid).
    EXPECT_NEAR(summary["positions"]["horizontal"]["medianMetres"], 1.10993, 2e-4);
    EXPECT_NEAR(summary["positions"]["vertical"]["largestMetres"], 2.0, 1e-9);
    const bool isTaken = position == "pos";
    EXPECT_EQ(summary["layers"][0]["records"], isTaken ? 2 : 3);
    EXPECT_NEAR(summary["photos"]["bounds"]["south"], isTaken ? 37.80002 : 37.80001, 1e-10);
    EXPECT_NEAR(summary["photos"]["bounds"]["highest"], isTaken ? 22.5 : 20.5, 1e-9);
    EXPECT_EQ(summary["dropped"].back()["photoNumber"], isTaken ? 5 : 4);
  }
  EXPECT_EQ(Summary()["dropped"].back()["reason"], "no place: after the last fix");
  EXPECT_EQ(Summary()["applanix"]["first"], "2021-10-06T04:03:52.000Z");
}

TEST_F(DroneTest, ExitCodesTellHowItWent) {
  struct {
    const char* script;
    int code;
    const char* said;  // part of what is on standard error
  } const rows[] = {
      {"$K run --mrk m/flight.MRK --photos m -o o --no-sharpness", 3, "1 exposure without a photo"},
      {"cp m/flight.MRK alone.MRK; $K run --mrk alone.MRK -o p", 3, "stay without photos"},
      {"$K run --mrk bad.MRK -o u", 1, "bad.MRK: no exposure in 1 line"},
      {"$K run --mrk m/flight.MRK --applanix bad.MRK -o u", 1, "no sample"},
      {"$K run m -o u --aos sbet.txt", 1, "no orientation reading"},
      {"$K run m -o u --position pos", 2, "needs a post-processed trajectory"},
      {"$K run m -o u --position neither", 2, "mrk or pos"},
      {"$K run m -o u --log sbet.txt", 2, "a drone mission has"},
      {"$K run --trajectory sbet.txt --photos m -o u", 2, "--mrk"},
      {"mkdir r; cp m/flight.MRK r/summary.json; $K run --mrk r/summary.json -o r --overwrite", 2, "this input has"},
      {"echo 'mrk = \"flight.MRK\"' > m/mission.toml; $K run m -o o --overwrite --no-sharpness", 3, ""},
      {"rm m/mission.toml; echo '$GPGGA,120000,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,' > m/log;"
       "$K run m -o o --overwrite --date 2024-05-01",
       0, "flight.MRK: left aside"},
  };
  for (const auto& [script, code, said] : rows) {
    EXPECT_EQ(Shell(script), code) << script << Errors();
    EXPECT_NE(Errors().find(said), std::string::npos) << script << Errors();
    EXPECT_FALSE(fs::exists(temp_.Path() / "u")) << script;
  }
}

TEST_F(DroneTest, OrientationReadingsAreSummarised) {
  const char* const lowestPitch = R"({"value": -1.25, "time": "2021-10-06T12:00:01.500Z"})";
  const char* const rows[] = {
      "2021-10-06 12:00:00,31.5,2,0,1,3,0,0\nno reading\nAOS,2021-10-06 12:00:01.5,30,-1.25,0,1,3,0,0\n",
      "0,120000061021\n0,31.5,2,0,1,3,0,0\nno reading\n1500000,30,-1.25,0,1,3,0,0\n2000000,120002061021\n"};
  for (const char* content : rows) {
    temp_.Write("m/tilt", content);
    EXPECT_EQ(Shell("$K run m -o o --overwrite --no-sharpness"), 3) << Errors();
    const Json aos = Summary()["aos"];
    EXPECT_EQ(aos["entries"], 2) << content;
    EXPECT_EQ(aos["linesSkipped"], 1) << content;
    EXPECT_EQ(aos["readings"]["pitch"]["lowest"], Json::parse(lowestPitch)) << content;
    EXPECT_EQ(aos["readings"]["boardTemperature"]["highest"]["value"], 31.5) << content;
  }
}

TEST(DronePhotos, AreNumberedAsTheLibraryNumbersThem) {
  struct {
    const char* name;
    std::optional<int> number;
  } const rows[] = {{"100_0067_0012.JPG", 12},
                    {"DJI_20230816103011_0012_W.JPG", 12},
                    {"DJI-0012_MS_G.JPG", 12},
                    {"7.jpg", 7},
                    {"x12.jpg", {}},
                    {"12_W2.jpg", {}},
                    {"_V.jpg", {}},
                    {"", {}}};
  for (const auto& [name, number] : rows) EXPECT_EQ(kv::mission::PhotoNumber(name), number) << name;
}

/// Files of public collections, when they are there. The numbers are those of their description.
TEST_F(DroneTest, RealFilesPass) {
  const fs::path data(SHARED_DATA_FOLDER);
  if (!fs::exists(data / "mrk")) GTEST_SKIP() << "no shared data";
  for (const auto& [name, exposures] : {std::pair("m4e_anton4_sample", 5), std::pair("p4rtk_100_0067_Timestamp", 56)}) {
    Shell("$K run -o o --overwrite --mrk " + (data / "mrk" / name).string() + ".MRK");
    EXPECT_EQ(Summary()["layers"][0]["records"], exposures) << Errors();
  }
  EXPECT_EQ(Shell("$K info --json " + (data / "applanix/s251_sbet_subset.txt").string()), 0) << Errors();
  EXPECT_EQ(Json::parse(temp_.Read("out"))[0]["samples"], 335);
}

}  // namespace
