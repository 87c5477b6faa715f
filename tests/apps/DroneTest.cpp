#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/CommandTest.h"

namespace {

namespace fs = std::filesystem;

/// A line of a timestamp file in week 2178, which began on 2021-10-03; GPS is 18 s ahead of UTC.
std::string Exposure(int number, const char* seconds, const char* latitude) {
  return std::to_string(number) + "\t" + seconds + "\t[2178]\t   -11,N\t    13,E\t   -25,V\t" + latitude +
         ",Lat\t-122.4,Lon\t20.5,Ellh\t0.1, 0.1, 0.2\t50,Q\r\n";
}

/// An export whose header has no date; 10 s between its rows, 0.00001 degrees and 2 m away from the exposures. Two times
/// and a latitude are garbled.
const char* const kExport =
    " Mapping frame datum: WGS84  ; Mapping frame projection : TM;\n TIME, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT\n\n"
    "  (time in Sec, ...)\n\n 273850.0 37.80001 -122.4 22.5\n 604799 37.8 -122.4 22.5\n 273855.0 97.8 -122.4 22.5\n"
    " 273860.0 37.80011 -122.4 22.5\n 9e8 37.8 -122.4 99\n";

/// A drone mission "m": exposures 1, 2, 4 and 5 before a Ctrl-Z, photos 1, 2, 5 and 9; of 1 and 4 a link that leads
/// nowhere, of 4 one whose name the library does not look for.
class DroneTest : public CommandTest {
 protected:
  void Prepare() override {
    fs::create_directory(temp_.Path() / "m");
    std::string flight = Exposure(1, "273851.0", "37.80001") + Exposure(2, "273855.0", "37.80005") + "3\t273856\r\n" +
                         Exposure(6, "1e9", "37.8") + Exposure(7, "273856.0", "97.8") +
                         Exposure(4, "273854.474686", "37.79468641") + Exposure(5, "273861.0", "37.80011");
    flight.insert(flight.size() - 2, "\x1A");
    temp_.Write("m/flight.MRK", flight + Exposure(8, "273862.0", "37.80012"));
    for (const char* name : {"DJI_0001_V", "DJI_0001_T", "._DJI_0001", "DJI_0002_V", "DJI_0005_V", "DJI_0009_V"})
      temp_.Write(std::string("m/") + name + ".JPG", "x");
    temp_.Write("m/DJI_0004_V.Jpg", "x");
    for (const char* link : {"m/DJI_0001.JPG", "m/DJI_0004.JPG"}) fs::create_symlink("none", temp_.Path() / link);
    temp_.Write("sbet.txt", kExport);
    temp_.Write("bad.MRK", "no exposure\n");
    const std::string header = std::string(kExport).substr(0, std::string(kExport).find(" 273850"));
    temp_.Write("h.txt", header + "1 97.8 0 0\n2 98 0 0\n");
  }
};

TEST_F(DroneTest, PhotosFindTheirExposuresByNumber) {
  EXPECT_EQ(Shell("$K run m -o o"), 3) << Errors();
  const Json summary = Summary();
  for (const char* absent : {"trajectory", "events", "stations", "positions"}) EXPECT_EQ(summary[absent], nullptr);
  EXPECT_EQ(summary["timestamps"]["linesSkipped"], 3);
  EXPECT_EQ(summary["timestamps"]["exposures"], 4);
  const Json& camera = summary["cameras"][0];
  EXPECT_EQ(camera["pairedBy"], "number");
  EXPECT_EQ(camera["paired"], 3);
  EXPECT_EQ(camera["photosWithoutEvent"], (Json{"DJI_0004_V.Jpg", "DJI_0009_V.JPG"}));
  EXPECT_EQ(camera["sharpness"]["ungraded"].size(), 3u);  // none of the photos is a picture
  EXPECT_EQ(summary["dropped"], Json::parse(R"([{"camera": 1, "photoNumber": 4, "time": "2021-10-06T04:03:56.474Z",
                                                 "code": "no-photo", "reason": "no photo"}])"));
  ASSERT_EQ(summary["layers"].size(), 1u);
  EXPECT_EQ(LayerOf(summary, "photos")["records"], 3);
  EXPECT_NE(temp_.Read("o/photos.dbf").find(Written("m/DJI_0005_V.JPG")), std::string::npos);
  EXPECT_NE(temp_.Read("out").find("number 4"), std::string::npos);
}

/// The offsets of every line are 11 mm south, 13 mm east and 25 mm up, in files that say 0.1, 0.1 and 0.2 m.
TEST_F(DroneTest, OffsetsAreAddedWhenWanted) {
  for (const std::string option : {"", " --timestamp-offsets"}) {
    EXPECT_EQ(Shell("$K run m -o o --overwrite --no-sharpness" + option), 3) << Errors();
    const Json photos = Summary()["photos"];
    // A degree of latitude has 110,993 m there (tables of the ellipsoid), one of longitude 88,073 m.
    EXPECT_NEAR(photos["bounds"]["south"], 37.80001 - (option.empty() ? 0 : 0.011 / 110'993), 1e-11) << option;
    EXPECT_NEAR(photos["bounds"]["west"], -122.4 + (option.empty() ? 0 : 0.013 / 88'073), 1e-11) << option;
    EXPECT_NEAR(photos["bounds"]["highest"], option.empty() ? 20.5 : 20.525, 1e-9) << option;
    EXPECT_EQ(photos["byQuality"], (Json{{"FIXED", 3}}));
    EXPECT_EQ(photos["horizontalAccuracy"], (Json{{"known", 3}, {"leastMetres", 0.1}, {"largestMetres", 0.1}}));
    EXPECT_NE(Errors().find(option.empty() ? "0.030 m are not added;" : "0.030 m are added;"), std::string::npos);
  }
}

TEST_F(DroneTest, CoarsePlacesAreNamed) {
  struct {
    const char* ends[2];  // of two lines: standard deviations and flag
    const char* said;     // empty: nothing
  } const rows[] = {
      {{"0.1, 0.1, 0.2\t50,Q", "0.1, 0.1, 0.9\t34,Q"}, ""},
      {{"0.1, 0.1, 0.2\t50,Q", "0.1, 0.1, 1.0\t34,Q"}, "1 of 2 exposures with a place good to metres only: 0 by"},
      {{"0.1, 0.1, 0.2\t16,Q", "0.7, 0.8, 0.9\t16,Q"}, "2 of 2 exposures with a place good to metres only: 2 by"},
      {{"0, 0, 0\t50,Q", "x, 5, 5\t50,Q"}, ""},
      {{"5, 5, 5\t50", "1e9, 5, 5\t50,Q"}, "deviations up to 5.00 m"},
  };
  for (const auto& [ends, said] : rows) {
    std::string flight;
    for (const char* end : ends) {
      const std::string line = Exposure(1, "273851.0", "37.80001");
      flight += line.substr(0, line.find("0.1, 0.1")) + end + "\n";
    }
    temp_.Write("two.MRK", flight);
    EXPECT_EQ(Shell("$K info two.MRK"), 0);
    const std::string text = temp_.Read("out");
    EXPECT_EQ(text.find("good to metres") != text.npos, *said != '\0') << text;
    EXPECT_NE(text.find(said), text.npos) << text;
  }
}

TEST_F(DroneTest, PlacesComeFromThePostProcessedTrajectoryWhenWanted) {
  const std::string run =
      "$K run m -o o --overwrite --accept-doubt --no-sharpness --applanix sbet.txt --max-gap 10 --position ";
  for (const std::string position : {"timestamps", "post-processed"}) {
    EXPECT_EQ(Shell(run + position), 4) << Errors();  // the export has no date
    const Json summary = Summary();
    EXPECT_EQ(summary["positions"]["used"], position);
    EXPECT_EQ(summary["positions"]["compared"], 3);
    EXPECT_EQ(summary["positions"]["outside"], 1);
    // 1 and 2 are 0.00001 degrees away; a degree of latitude has 110,993 m there (tables of the ellipsoid).
    EXPECT_NEAR(summary["positions"]["horizontal"]["medianMetres"], 1.10993, 2e-4);
    EXPECT_NEAR(summary["positions"]["vertical"]["largestMetres"], 2.0, 1e-9);
    const bool isTaken = position == "post-processed";
    EXPECT_EQ(LayerOf(summary, "photos")["records"], isTaken ? 2 : 3);
    EXPECT_NEAR(summary["photos"]["bounds"]["south"], isTaken ? 37.80002 : 37.80001, 1e-10);
    EXPECT_NEAR(summary["photos"]["bounds"]["highest"], isTaken ? 22.5 : 20.5, 1e-9);
    EXPECT_EQ(summary["dropped"].back()["photoNumber"], isTaken ? 5 : 4);
    EXPECT_EQ(summary["applanix"]["outOfRange"], 1);
    EXPECT_NE(Errors().find("2 single samples out of the order of time"), std::string::npos) << Errors();
    EXPECT_NE(Errors().find("the header has no date: taken to begin on 2021-10-06"), std::string::npos) << Errors();
  }
  EXPECT_EQ(Summary()["dropped"].back()["reason"], "no place: after the last fix");
  EXPECT_EQ(Summary()["applanix"]["first"], "2021-10-06T04:03:52.000Z");
  EXPECT_EQ(Summary()["applanix"]["last"], "2021-10-06T04:04:02.000Z");
  EXPECT_EQ(Summary()["applanix"]["bounds"]["highest"], 22.5);
}

TEST_F(DroneTest, ExitCodesTellHowItWent) {
  const std::string fix = "echo '$GPGGA,120000,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,' > m/log; ";
  ExpectEach({
      {"$K run --timestamps m/flight.MRK --photos m -o o --no-sharpness", 3, "1 exposure without a photo"},
      {"cp m/flight.MRK alone.MRK; $K run --timestamps alone.MRK -o p", 3, "stay without photos"},
      {"$K run --timestamps bad.MRK -o u", 1, "bad.MRK: no exposure in 1 line"},
      {"$K run --timestamps m/flight.MRK --applanix bad.MRK -o u", 1, "no sample"},
      {"$K run m -o u --applanix h.txt --position post-processed", 1, "h.txt: no usable sample"},
      {"$K run m -o o --applanix h.txt", 3, "h.txt: no usable sample: places are not compared"},
      {"$K run m -o o --no-sharpness --applanix sbet.txt --position post-processed 2> e; code=$?; cat e >&2;"
       "grep -q 'post-processed trajectory: gap of 10.0 s' e && ! grep -q 'inside trajectory gaps' e && exit $code",
       4, "4 exposures outside the post-processed trajectory"},
      {"(yes noise | head -n 50; printf '0,120000061021\\n5,31.5,2,0,1,3,0,0\\n9,120009061021\\n') > sparse;"
       "$K run m -o o --orientation sparse --tolerance 1",
       3, "50 lines left out, without a stamp and seven numbers: line 1, 2, 3, 4, 5, ..."},
      {"mkfifo f; $K run --timestamps f -o u", 1, "f: not a regular file"},
      {"mkdir d; mkfifo d/f; timeout 60 $K run d -o u", 1, "f (not a regular file)"},
      {"$K run m -o u --orientation sbet.txt", 1, "no orientation reading"},
      {"$K run m -o u --position post-processed", 2, "post-processed needs a trajectory: give"},
      {"$K run --trajectory sbet.txt --timestamp-offsets -o u", 2, "--timestamp-offsets is for a drone mission"},
      {"$K run m -o u --cam1-lever-arm 0,0,1", 2, "lever arms and --heading-from-track are for a sensor's mission"},
      {"$K run m -o u --position neither", 2, "timestamps or post-processed"},
      {"$K run m -o u --housekeeping sbet.txt", 2, "a drone mission has"},
      {"$K run --trajectory sbet.txt --photos m -o u", 2, "--timestamps"},
      {"mkdir r; cp m/flight.MRK r/summary.json; $K run --timestamps r/summary.json -o r --overwrite", 2,
       "overwrite this input"},
      {"echo 'timestamps = \"flight.MRK\"' > m/mission.toml; $K run m -o o --no-sharpness --pair time --tolerance 1", 3,
       "without effect in a drone mission: --pair, --tolerance\n"},
      {fix + "$K run m -o o --date 2024-05-01", 0, "flight.MRK: left aside"},
      {fix + "$K run m -o o --date 2024-05-01 --applanix h.txt", 3, "h.txt: no usable sample"},
      {fix + "printf '2024-05-01 12:00:00,31.5,2,0,1,3,0,0\\nx\\n' > tilt;"
             "$K run m -o o --date 2024-05-01 --orientation tilt",
       3, "1 line left out, without a stamp and seven numbers: line 2"},
      {fix + "$K run m -o o --timestamps m/flight.MRK --no-sharpness", 3, "log: left aside: the mission is a drone's"},
  });
}

TEST_F(DroneTest, OrientationReadingsAreSummarised) {
  const char* const lowestPitch = R"({"value": -1.25, "time": "2021-10-06T12:00:01.500Z"})";
  const char* const dated =
      "2021-10-06 12:00:00,31.5,2,0,1,3,0,0\nno reading\nAOS,2021-10-06 12:00:01.5,30,-1.25,0,1,3,0,0\n";
  const char* const clocked =
      "0,120000061021\n0,31.5,2,0,1,3,0,0\nno reading\n1500000,30,-1.25,0,1,3,0,0,more\n2000000,120002061021\n";
  const std::string mark = "\xEF\xBB\xBF";
  struct {
    std::string content;
    int entries, untimed;
    const char* said;  // part of what is on standard error
  } const rows[] = {
      {mark + dated, 2, 0, "1 line left out, without a stamp and seven numbers: line 2"},
      {std::string(dated) + "2021-10-06 12:00:01,nan,inf,0,1,3,0,0\n", 3, 0,
       "2 readings are not finite numbers, first in line 4"},
      {dated + std::string("2021-13-06 12:00:01,31,0,0,1,3,0,0\n"), 3, 1, "1 reading without a time"},
      {mark + clocked, 2, 0, "1 line left out, without a stamp and seven numbers: line 3"},
      {clocked + std::string("5,120002061321\n"), 2, 0, "1 heartbeat left out, without a valid date and time: line 6"},
      {std::string("4294967290,31,0,0,1,3,0,0\n") + clocked, 3, 1, "1 reading before the first heartbeat"},
      {clocked + std::string("900000000,32,-9,0,1,3,0,0\n3000000,120003061021\n"), 2, 0,
       "1 line left out, tick far from those before and after: line 6"},
      {clocked + std::string("3000000,120003061021\n4000000,120004061021\n5000000,120005061099\n"), 2, 0,
       "1 heartbeat left out, more than 0.5 s off the others: line 8"},
      // The counter wraps between the heartbeats.
      {"4294000000,120000061021\n4294000000,31.5,2,0,1,3,0,0\nno reading\n532704,30,-1.25,0,1,3,0,0\n"
       "1032704,120002061021\n",
       2, 0, ""},
  };
  for (const auto& [content, entries, untimed, said] : rows) {
    temp_.Write("m/tilt", content);
    EXPECT_EQ(Shell("$K run m -o o --overwrite --no-sharpness"), 3) << Errors();
    EXPECT_NE(Errors().find(said), std::string::npos) << Errors();
    const Json orientation = Summary()["orientation"];
    EXPECT_EQ(orientation["entries"], entries) << content;
    EXPECT_EQ(orientation["withoutTime"], untimed) << content;
    EXPECT_EQ(orientation["linesSkipped"], 1) << content;
    EXPECT_EQ(orientation["readings"]["pitch"]["lowest"], Json::parse(lowestPitch)) << content;
    EXPECT_EQ(orientation["readings"]["boardTemperature"]["highest"]["value"], 31.5) << content;
  }
}

/// Files of public collections, when they are there. The numbers are those of their description.
TEST_F(DroneTest, RealFilesPass) {
  const fs::path data(SHARED_DATA_FOLDER);
  if (!fs::exists(data / "mrk")) GTEST_SKIP() << "no shared data";
  for (const auto& [name, exposures] : {std::pair("m4e_anton4_sample", 5), std::pair("p4rtk_100_0067_Timestamp", 56)}) {
    Shell("$K run -o o --overwrite --timestamps " + (data / "mrk" / name).string() + ".MRK");
    EXPECT_EQ(LayerOf(Summary(), "photos")["records"], exposures) << Errors();
  }
  EXPECT_EQ(Shell("$K info --json " + (data / "applanix/s251_sbet_subset.txt").string()), 0) << Errors();
  EXPECT_EQ(Json::parse(temp_.Read("out"))[0]["samples"], 335);
}

}  // namespace
