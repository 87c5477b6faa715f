#include "mission/inputs/Inputs.h"

#include <gtest/gtest.h>

#include "georef/EventTypes.h"
#include "mission/Steps.h"
#include "mission/inputs/EventFile.h"
#include "mission/inputs/PosFile.h"
#include "support/Environment.h"
#include "support/TempFolder.h"
#include "support/TestJob.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr const char* kFix = "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n";
constexpr const char* kHeartbeat12 = "5000,120000010124\r\n";

TEST(FileKind, IsToldByContent) {
  struct {
    std::string head;
    FileKind kind;
  } const rows[] = {
      {kFix, FileKind::Trajectory},
      {"# a comment\n# another\n$GPZDA,193913.00,07,09,2018,00,00*63\n", FileKind::Trajectory},
      {std::string("4000,1\r\n") + kHeartbeat12, FileKind::Events},
      {"1,2\n3,4\n", FileKind::Unknown},
      {"camera,tick,utc\n1,2,3\n", FileKind::Unknown},
      {"INFO,2024-05-01 12:00:00,CCU,31.5\r\n", FileKind::HousekeepingLog},
      {"1,2024-05-01 12:00:00,CCU,31.5\nx,2024-05-01,CCU\nx,2024-05-01 12:00:00\n", FileKind::Unknown},
      {"\xFF\xD8\xFF\xE1 Exif", FileKind::Jpeg},
      {std::string("\0\0\x27\x0A\0\0", 6), FileKind::Shapefile},
      {"\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<!-- a -->\n<gpx version=\"1.1\">", FileKind::Gpx},
      {"<html>about <gpxtracks>", FileKind::Unknown},
      {"notes on <gpx> files", FileKind::Unknown},
      {std::string(5000, '\0'), FileKind::Unknown},
      {"", FileKind::Unknown},
  };
  for (const auto& [head, kind] : rows) EXPECT_EQ(KindOfContent(head), kind) << head.substr(0, 40);
}

TEST(MissionFolder, IsSearchedByContentAndFolderName) {
  const TempFolder folder;
  folder.Write("log.txt", kFix);
  folder.Write("data.csv", kHeartbeat12);
  folder.Write("box", "INFO,2024-05-01 12:00:00,CCU,31.5\n");
  folder.Write("notes.md", "flown in rain\n");
  for (const char* name : {"CAMERA1", "Cam2", "cam3"}) std::filesystem::create_directory(folder.Path() / name);
  TestJob job;
  Settings open;
  open.mission = folder.Path();
  Settings settings = open;
  settings.camera2 = "elsewhere";
  FindMissionFiles(settings, job);
  EXPECT_EQ(settings.trajectory, folder.Path() / "log.txt");
  EXPECT_EQ(settings.events, folder.Path() / "data.csv");
  EXPECT_EQ(settings.housekeeping, folder.Path() / "box");
  EXPECT_EQ(settings.camera1, folder.Path() / "CAMERA1");
  EXPECT_EQ(settings.camera2, "elsewhere");

  const std::string reading = "2024-05-01 12:00:00,31.5,2,0,1,3,0,0\n";
  folder.Write("a.aos", reading), folder.Write("b.aos", reading);
  Settings twins = open, different = open;
  FindMissionFiles(twins, job);
  EXPECT_EQ(twins.orientation, folder.Path() / "a.aos");
  EXPECT_EQ(job.Warnings().size(), 0u);
  folder.Write("b.aos", reading + reading);
  FindMissionFiles(different, job);
  EXPECT_EQ(different.orientation, "");
  ExpectParts(job.Warnings(), {"several orientation files: a.aos, b.aos; choose with --orientation"}, "");

  folder.Write("copy.txt", kFix);
  const std::string failure = FailureOf([&] { FindMissionFiles(open, job); }, Failure::Reason::Failed);
  EXPECT_TRUE(Contains(failure, "several trajectories: copy.txt, log.txt; choose with --trajectory")) << failure;
}

TEST(MissionFolder, ComparesItsLogWithThePostProcessedTrajectoryThatIsNamed) {
  constexpr const char* kPos = "2203 9018 48.25 15.5 712.5 1 2 3 4 5 6 7 8 9 10\n";
  constexpr const char* kNoFix = "$GPGGA,123519,,,,,0,00,,,M,,M,,\n";
  struct {
    const char *first, *second;     // logs in the folder
    const char *trajectory, *more;  // named
    const char *other, *warning;
  } const rows[] = {
      {kFix, "", "a.pos", "", "1.nmea", nullptr},
      {kFix, kNoFix, "a.pos", "", "1.nmea", "2.nmea: left aside"},
      {kNoFix, "", "a.pos", "", "", nullptr},
      {kFix, kFix, "a.pos", "", "", "several receiver logs to compare with: 1.nmea, 2.nmea"},
      {kFix, "", "a.pos", "b.pos", "b.pos", nullptr},
      {kFix, kFix, "1.nmea", "", "", nullptr},
  };
  for (const auto& [first, second, trajectory, more, other, warning] : rows) {
    const TempFolder folder;
    TestJob job;
    folder.Write("a.pos", kPos), folder.Write("b.pos", kPos);
    folder.Write("1.nmea", first), folder.Write("2.nmea", second);
    const auto path = [&](const std::string& name) { return name.empty() ? "" : folder.Path() / name; };
    Settings settings;
    settings.mission = folder.Path();
    settings.trajectory = path(trajectory), settings.otherTrajectory = path(more);
    FindMissionFiles(settings, job);
    EXPECT_EQ(settings.trajectory, path(trajectory));
    EXPECT_EQ(settings.otherTrajectory, path(other)) << first << second;
    warning ? ExpectParts(job.Warnings(), {warning}, other) : ExpectParts(job.Warnings(), {}, other);
  }
}

// 2022-03-27 02:30 UTC is 9018 s into GPS week 2203. Central Europe's clocks skip it.
TEST(Inputs, KeepTheirTimesInAnHourThatTheMachinesZoneSkips) {
  const TimeZone berlin("CET-1CEST,M3.5.0,M10.5.0/3");
  const TempFolder folder;
  TestJob job;
  const auto read = [&](const std::string& content, auto&& timeIn) {
    folder.Write("file", content);
    return IsoText(FromFileTime(timeIn(folder.Path() / "file")));
  };
  constexpr const char* kTime = "2022-03-27T02:30:00.000Z";
  EXPECT_EQ(read("0,023000270322\n10,023010270322\n",
                 [&](const auto& path) { return ReadEventFile(path, job).events.at(0).TimeUTC; }),
            kTime);
  EXPECT_EQ(read("0,023000270322\n0,31.5,-1.25,2,359.5,3,-1,7\n10,023010270322\n",
                 [&](const auto& path) { return ReadOrientationFile(path, job).readings.at(0).TimeUTC; }),
            kTime);
  EXPECT_EQ(read("2022-03-27 02:30:00,31.5,-1.25,2,359.5,3,-1,7\n",
                 [&](const auto& path) { return ReadOrientationFile(path, job).readings.at(0).TimeUTC; }),
            kTime);
  EXPECT_EQ(read(" Date of Mission: 2022-03-27\n Start Time: 02:00:00\n TIME, DISTANCE, EASTING, NORTHING, ELLIPSOID "
                 "HEIGHT, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT, ROLL, PITCH, HEADING, EAST VELOCITY, NORTH VELOCITY, "
                 "UP VELOCITY, EAST SD, NORTH SD, HEIGHT SD, ROLL SD, PITCH SD, HEADING SD\n\n  (time in Sec, distance "
                 "in Meters)\n\n 9018 1 667926.8 3982716.3 711.5 48.25 15.5 712.5 1.5 2.5 271.1 .1 .2 .3 .4 .5 .6 .7 "
                 ".8 .9\n",
                 [&](const auto& path) { return ReadApplanixExport(path, {}, job).samples.at(0).TimeUTC; }),
            kTime);
  EXPECT_EQ(IsoText(FromFileTime(ReadPosLines({"2203 9018 48.25 15.5 712.5 1 2 3 4 5 6 7 8 9 10\n"}, PosDetail::Records)
                                     .samples.at(0)
                                     .TimeUTC)),
            kTime);
}

TEST(Inputs, AreNotReadOnAfterAStop) {
  struct : Observer {
    bool ShouldStop() override { return true; }
  } stop;
  const TempFolder folder;
  for (const char* content :
       {kFix, kHeartbeat12, "INFO,2024-05-01 12:00:00,CCU,31.5\n", "2203 9018 48.25 15.5 712.5 1 2 3 4 5 6 7 8 9 10\n",
        "2024-05-01 12:00:00,31.5,2,0,1,3,0,0\n",
        "<gpx version=\"1.1\"><trk><trkseg><trkpt lat=\"48\" lon=\"15\"/></trkseg></trk></gpx>"}) {
    folder.Write("file", content);
    const auto describe = [&] { DescribeFile(folder.Path() / "file", 2, stop); };
    EXPECT_EQ(FailureOf(describe, Failure::Reason::Stopped), "interrupted") << content;
  }
}

}  // namespace
}  // namespace kv::mission
