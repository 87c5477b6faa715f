#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "support/CommandTest.h"

namespace {

namespace fs = std::filesystem;

/// A folder in which the command runs.
class RunTest : public CommandTest {
 protected:
  std::set<std::string> Names(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(temp_.Path() / folder))
      names.insert(entry.path().filename().string());
    return names;
  }

  /// Ten fixes from 12:00:00 on 2024-05-01, a second apart, northward from 48 degrees by a thousandth of a degree each.
  /// Events at 12:00:00.5, 02.5, 04.5 (both cameras), 30; photos for all but the last.
  void MakeMission() {
    fs::create_directories(temp_.Path() / "m/cam1");
    fs::create_directories(temp_.Path() / "m/cam2");
    std::string log = "$GPZDA,115959.00,01,05,2024,00,00\r\n$GPGGA,115959,,,,,0,,,,M,,M,,\r\n";
    for (int i = 0; i < 10; ++i)
      log += "$GPGGA,12000" + std::to_string(i) + ".00,4800." + std::to_string(i * 6 + 1000).substr(1) +
             ",N,01100.000,E,4,08,0.9,500.0,M,40.0,M,,\r\n";
    temp_.Write("m/rover.nmea", log);
    temp_.Write("m/clock.csv",
                "1000000,120000010524\r\n1500000,1\r\n3500000,1\r\n5500000,1\r\n5500000,2\r\n"
                "31000000,1\r\n41000000,120040010524\r\n");
    for (const char* name : {"cam1/240501_120000", "cam1/240501_120002", "cam1/240501_120004", "cam2/240501_120004"})
      temp_.Write(std::string("m/") + name + ".jpg", "x");
  }
};

const std::set<std::string> kTrajectoryFiles{"report.html",           "mission.gpkg",          "mission.qgz",
                                             "summary.json",          "trajectory_line.dbf",   "trajectory_line.prj",
                                             "trajectory_line.qml",   "trajectory_line.shp",   "trajectory_line.shx",
                                             "trajectory_points.dbf", "trajectory_points.prj", "trajectory_points.qml",
                                             "trajectory_points.shp", "trajectory_points.shx"};

TEST_F(RunTest, TurnsAMissionIntoLayersAndSaysWhatItDropped) {
  MakeMission();
  EXPECT_EQ(Shell("$K run m -o o"), 3) << Errors();
  auto files = kTrajectoryFiles;
  for (const std::string layer : {"photos", "stations"}) {
    for (const char* extension : {".dbf", ".prj", ".qml", ".shp", ".shx"}) files.insert(layer + extension);
  }
  EXPECT_EQ(Names("o"), files);
  const Json summary = Summary();
  EXPECT_EQ(summary["trajectory"]["fixes"], 10);
  EXPECT_EQ(summary["trajectory"]["leftOut"]["noFix"], 1);
  EXPECT_EQ(summary["trajectory"]["leftOut"]["otherSentences"]["ZDA"], 1);
  EXPECT_EQ(summary["trajectory"]["dateSource"], "heartbeat");
  EXPECT_EQ(summary["events"]["heartbeats"], (Json{{"read", 2}, {"placed", 1}}));
  const Json& camera = summary["cameras"][0];
  EXPECT_EQ((std::array<int, 4>{camera["read"], camera["placed"], camera["paired"], camera["dropped"]}),
            (std::array<int, 4>{4, 3, 3, 1}));
  EXPECT_EQ(camera["pairedBy"], "time");
  EXPECT_NEAR(camera["largestDifferenceSeconds"], 0.5, 1e-3);
  EXPECT_EQ(summary["dropped"], Json::parse(R"([{"camera": 1, "tick": 31000000, "time": "2024-05-01T12:00:30.000Z",
                                                 "code": "after-last-fix",
                                                 "reason": "no place: after the last fix"}])"));
  // 0.006 minutes of latitude a second: 0.5 s and 4.5 s after 48 degrees.
  EXPECT_NEAR(summary["photos"]["bounds"]["south"], 48 + 0.00005, 1e-9);
  EXPECT_NEAR(summary["photos"]["bounds"]["north"], 48 + 0.00045, 1e-9);
  EXPECT_NEAR(summary["photos"]["bounds"]["highest"], 540.0, 1e-9);
  EXPECT_EQ(LayerOf(summary, "photos")["records"], 4);
  EXPECT_EQ(LayerOf(summary, "stations")["records"], 3);
  EXPECT_EQ(summary["stations"]["paired"], 1);
  EXPECT_EQ(camera["sharpness"]["graded"], 0);  // none of the photos is a picture
  EXPECT_EQ(camera["sharpness"]["ungraded"][2]["photo"], "240501_120004.jpg");
  EXPECT_NE(temp_.Read("o/photos.dbf").find(Written("m/cam1/240501_120000.jpg")), std::string::npos);
  EXPECT_NE(temp_.Read("out").find("tick 31000000"), std::string::npos);
}

TEST_F(RunTest, ExitCodesTellHowItWent) {
  MakeMission();
  temp_.Write("two.nmea", "$GPGGA,235959,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*4F\n");
  const std::string whole = "sed -i /31000000/d m/clock.csv; ", one = "mv m/cam2 m/other; ";
  ExpectEach({
      {"$K run m -o o -q", 3, ""},
      {"$K run m -o o -q; $K run m -o o", 1, "--overwrite"},
      {"$K run m -o o -q; $K run m -o o -q --overwrite", 3, ""},
      {"$K run m -o o -q; cp -r o before; $K run m -o o --overwrite --events m/none; code=$?\n"
       "diff -r o before && exit $code",
       1, "m/none: cannot be read"},
      {whole + "$K run m -o o", 3, "could not be graded"},
      {whole + "$K run m -o o --no-sharpness", 0, ""},
      {whole + one + "$K run m -o o --no-sharpness", 3, ""},
      {"$K run m -o u --events two.nmea", 1, "two.nmea: no heartbeat and no camera event in 1 line"},
      {"mkdir m/camera1 && $K run m -o u", 1, "cam1, camera1; choose with --cam1"},
      {"echo '$WIMWV,214.8,R,0.1,K,A' > m/wind; $K run m -o o", 3, "wind: left aside: it has no usable fix"},
      {"cp m/rover.nmea m/other; $K run m -o u", 1, "other, rover.nmea; choose with --trajectory"},
      {"$K run --trajectory m/rover.nmea -o t", 0, ""},
      {"echo > t; $K run --trajectory m/rover.nmea -o t", 1, "t: "},
      {"$K run --trajectory m/rover.nmea -o t; $K run --trajectory m/rover.nmea -o t/summary.json", 1,
       "t/summary.json"},
      {"$K run --trajectory m -o u", 1, "m: cannot be read: Is a directory"},
      {"$K run --trajectory m/clock.csv -o u", 1, "no usable fix in 7 lines: 7 lines that are not NMEA sentences"},
      {"$K run --trajectory ${K##* } -o u", 1, "no usable fix"},
      {"$K run none -o u", 1, "none: no such folder"},
      {"$K run m -o u --max-gap 1,5", 2, "--max-gap"},
      {"$K run m -o u --pair both", 2, "order, time or auto"},
      {"$K run m -o u --blur-factor 25", 2, "from 0 to 1"},
      {"$K run --trajectory m/rover.nmea -o u --tolerance -1", 2, "tolerance"},
      {"$K run m -o u --jobs 0", 2, "--jobs"},
      {"$K run m -o u -q -v", 2, "excludes"},
      {"$K run -o u", 2, "--trajectory"},
      {"$K run m -o ''", 2, "--output"},
      {"mkdir r; cp m/clock.csv r/summary.json; $K run m --events r/summary.json -o r --overwrite; code=$?\n"
       "cmp m/clock.csv r/summary.json && exit $code",
       2, "overwrite this input"},
      {one + "$K run m -o o --cam1 m/other --cam2 m/../m/other", 4, "both cameras use the photo folder"},
      {one + "cp -r m 'm\\1'; $K run 'm\\1' -o u --cam1 'm\\1/other' --pair order", 1,
       IsUnderWine() ? "no such folder" : "cannot have a backslash"},
      {one + "touch m/other/._a.jpg; $K run m -o u --cam1 m/other --pair order", 1, "1 hidden file named .*.jpg"},
      {"ln -s none m/mission.toml; $K run m -o u", 1, "mission.toml: cannot be read"},
      {"ln -s none m/mission.toml; $K rotate m --camera 1 --angle 90 --yes", 1, "toml: cannot be read"},
      {"mkfifo f; $K info m/clock.csv f m/clock.csv > list; code=$?; test $(grep -c clock.csv list) = 2 && exit $code",
       1, "f: not a regular file"},
      {"echo camera1=1 > m/mission.toml; $K run m -o u", 2, "unknown key \"camera1\""},
      {"$K", 2, ""},
      {"$K run --help && $K --version", 0, ""},
  });
}

/// What a mission.toml and the command line settle, by the gaps that the log then has: it pauses for 3 s once.
TEST_F(RunTest, TheCommandLineDecidesBeforeTheMissionFileAndTheDefaults) {
  MakeMission();
  ASSERT_EQ(Shell("sed -i -e /12000[56]/d m/rover.nmea"), 0);
  struct {
    const char *file, *options;
    std::size_t gaps;
  } const rows[] = {{"", "", 1},
                    {"max-gap = 0.5\n", "", 7},
                    {"max-gap = 5\n", "", 0},
                    {"max-gap = 0.5\n", " --max-gap 5", 0},
                    {"", " --max-gap 0.5", 7}};
  for (const auto& [file, options, gaps] : rows) {
    temp_.Write("m/mission.toml", file);
    EXPECT_GE(Shell(std::string("$K run m -o o --overwrite -q") + options), 3) << file << options << Errors();
    EXPECT_EQ(Summary()["trajectory"]["gaps"].size(), gaps) << file << options;
  }
}

/// Making a file in a folder, even one that is gone again, changes the folder's time.
TEST_F(RunTest, NoFileIsMadeOutsideTheOutputFolder) {
  ASSERT_EQ(Shell("$K simulate m -q --minutes 1.2 --photo-size 16x16; mkdir tmp; find m tmp . -type d |"
                  "xargs touch -d 2001-02-03"),
            0);
  ASSERT_EQ(Shell("export TMPDIR=$PWD/tmp; "
                  "$K run m -o o -q; $K info m/*.* > /dev/null; touch -d 2001-02-03 .\n"
                  "$K run m -o o -q --overwrite; $K info m/* > /dev/null\n"
                  "find . -type d ! -path './o*' -newermt 2001-02-04"),
            0);
  EXPECT_EQ(temp_.Read("out"), "");
  ExpectEach({{"TMPDIR=/none $K info m/events.txt", 0, ""}, {"TMPDIR=/none $K run m -o p", 3, ""}});
}

/// The engine's calendar is UTC, on days with and without a change of the local clock. The zone is that of Berlin, by its
/// rule: names of zones need a database.
TEST_F(RunTest, ResultsDoNotDependOnTheTimeZone) {
  for (const std::string start : {"2024-03-31 00:58:30", "2024-10-27 00:58:30"}) {
    ASSERT_EQ(
        Shell("rm -rf m o berlin; $K simulate m -q --minutes 3 --photo-size 16x16 --names exif --start '" + start +
              "'\nTZ=CET-1CEST,M3.5.0,M10.5.0/3 $K run m -o o -q; mv o berlin; TZ=UTC $K run m -o o -q\n"
              "test -s o/photos.shp && diff -r o berlin"),
        0)
        << start << Errors() << temp_.Read("out");
    EXPECT_EQ(Summary()["events"]["first"].get<std::string>().substr(0, 13), start.substr(0, 10) + "T00") << start;
  }
}

TEST_F(RunTest, BringsTheLogOntoTheMap) {
  MakeMission();
  temp_.Write("m/box.log",
              "INFO,2024-05-01 11:59:00,CCU,31.5\r\nERR,2024-05-01 12:00:05,CAM,failed\r\n"
              "INFO,2024-05-01 12:00:08,CCU,29.25\r\n");
  EXPECT_EQ(Shell("$K run m -o o --no-sharpness"), 3) << Errors();
  const Json log = Summary()["housekeeping"];
  EXPECT_EQ(log["entries"], (Json{{"read", 3}, {"dropped", 0}}));
  EXPECT_EQ(log["errors"], Json::parse(R"(["ERR:  2024-05-01 12:00:05  :  CAM failed"])"));
  EXPECT_EQ(log["readings"], Json::parse(R"({"controlUnitTemperature": {
      "lowest": {"value": 29.25, "time": "2024-05-01T12:00:08.000Z"},
      "highest": {"value": 31.5, "time": "2024-05-01T11:59:00.000Z"}}})"));
  EXPECT_EQ(LayerOf(Summary(), "log_points"),
            (Json{{"name", "log_points"}, {"file", Written("o/log_points.shp")}, {"records", 3}}));
  // Nothing of a log of another day is on the trajectory.
  EXPECT_EQ(Shell("sed -i s/05-01/05-02/ m/box.log; $K run m -o o --no-sharpness --overwrite"), 3);
  EXPECT_EQ(Summary()["housekeeping"]["entries"]["dropped"], 3);
  EXPECT_NE(Errors().find("3 of 3 entries dropped"), std::string::npos) << Errors();
}

TEST_F(RunTest, OverwritingLeavesNothingOfTheOldResults) {
  MakeMission();
  ASSERT_EQ(Shell("$K run m -o o; touch o/photos.qix o/photos.cpg o/mine.txt"), 0);
  ASSERT_EQ(Shell("$K run --trajectory m/rover.nmea -o o --overwrite"), 0);
  auto files = kTrajectoryFiles;
  files.insert("mine.txt");
  EXPECT_EQ(Names("o"), files);
}

TEST_F(RunTest, FailedWritesLeaveTheOldResultsAlone) {
  MakeMission();
  ASSERT_EQ(Shell("$K run --trajectory m/rover.nmea -o o"), 0);
  const std::string before = temp_.Read("o/trajectory_points.dbf");
  EXPECT_EQ(Shell("ulimit -f 1; $K run m -o o --overwrite"), 1);
  EXPECT_EQ(Shell("ulimit -f 1; $K run m -o p"), 1);
  EXPECT_EQ(Names("o"), kTrajectoryFiles);
  EXPECT_EQ(temp_.Read("o/trajectory_points.dbf"), before);
  EXPECT_FALSE(fs::exists(temp_.Path() / "p"));
  EXPECT_EQ(Shell("$K info m/rover.nmea > /dev/full"), 1);
}

TEST_F(RunTest, AnInterruptLeavesNothingBehind) {
  // The run waits for the other end of the pipe and is interrupted there. A shell has what it starts in the background
  // ignore the interrupt, and an ignored signal stays ignored.
  for (const std::string signal : {"INT", "TERM"}) {
    EXPECT_EQ(Shell("mkfifo pipe; env --default-signal=INT $K run --trajectory pipe -o o & run=$!\n"
                    "until [ -d o ]; do sleep 0.01; done; sleep 0.1\n"
                    "kill -" +
                    signal + " $run; wait $run; code=$?; rm pipe; exit $code"),
              130)
        << signal << Errors();
    EXPECT_FALSE(fs::exists(temp_.Path() / "o")) << signal;
  }
}

TEST_F(RunTest, NamesAreTextOfAnyKind) {
  MakeMission();
  ASSERT_EQ(Shell("sed -i /31000000/d m/clock.csv; mv m 'Ausflug \xCE\xB1\xCE\xB2 \xE4\xB8\xAD'\n"
                  "$K run Ausflug* --no-sharpness -o '\xD0\xBE\xD1\x83\xD1\x82'"),
            0)
      << Errors();
  EXPECT_EQ(LayerOf(Summary("\xD0\xBE\xD1\x83\xD1\x82"), "photos")["records"], 4);
  EXPECT_NE(Errors().find("photo paths do not fit PhotoPath"), std::string::npos) << Errors();
  // A name that is no UTF-8 at all; JSON has U+FFFD for its byte.
  ASSERT_EQ(Shell("mv Ausflug* 'b\xFF' && $K run b* --no-sharpness -o 'q\xFE' && mv q* plain"), 0) << Errors();
  EXPECT_EQ(Summary("plain")["mission"], "b\xEF\xBF\xBD");
}

TEST_F(RunTest, TheDayIsTheFirstFixesAndFollowsMidnight) {
  temp_.Write("log",
              "$GPGGA,235959,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,\n"
              "$GPGGA,000000,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,\n"
              "$GPRMC,000000,A,4807.038,N,01131.000,E,022.4,084.4,010524,,\n");
  EXPECT_EQ(Shell("$K run --trajectory log -o o"), 0) << Errors();
  EXPECT_EQ(Summary()["trajectory"]["first"], "2024-04-30T23:59:59.000Z");
  EXPECT_EQ(Summary()["trajectory"]["last"], "2024-05-01T00:00:00.000Z");
}

/// Receiver logs from public collections, when they are there. The numbers of fixes are those of their description.
TEST_F(RunTest, RealReceiverLogsPass) {
  const fs::path logs = fs::path(SHARED_DATA_FOLDER) / "nmea";
  if (!fs::exists(logs)) GTEST_SKIP() << "no shared data";
  struct {
    const char* name;
    int fixes;
  } const rows[] = {{"gpsd_nmea-rtk.log", 122},
                    {"signalk_gps.log", 1202},
                    {"gpsd_ublox-zed-f9p-nmea.log", 29},
                    {"gpsd_hemi.log", 21}};
  for (const auto& [name, fixes] : rows) {
    EXPECT_EQ(Shell("$K run --overwrite -o o --trajectory " + (logs / name).string()), 0) << name << Errors();
    EXPECT_EQ(Summary()["trajectory"]["fixes"], fixes) << name;
  }
  EXPECT_EQ(Shell("$K run -o p --trajectory " + (logs / "gpsd_telit-he910.log").string()), 1);
  EXPECT_NE(Errors().find("no usable fix"), std::string::npos);
}

}  // namespace
