#include "mission/Settings.h"

#include <gtest/gtest.h>

#include "support/TempFolder.h"
#include "support/TestJob.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using WrongUsage = std::integral_constant<Failure::Reason, Failure::Reason::WrongUsage>;

TEST(Settings, AreGivenAsText) {
  struct {
    const char *key, *text, *complaint;  // empty: none
    bool (*holds)(const Settings&);      // else
  } const rows[] = {
      {"trajectory", "a b.nmea", "", [](const Settings& s) { return s.trajectory == "a b.nmea"; }},
      {"housekeeping", "h", "", [](const Settings& s) { return s.housekeeping == "h"; }},
      {"cam2", "c", "", [](const Settings& s) { return s.camera2 == "c" && s.camera1.empty(); }},
      {"output", "", "must not be empty", {}},
      {"target", "EPSG:32633", "", [](const Settings& s) { return s.target == "EPSG:32633"; }},
      {"target", "", "must not be empty", {}},
      {"date", "2024-02-29", "", [](const Settings& s) { return DateText(s.date.value()) == "2024-02-29"; }},
      {"date", "2023-02-29", "must be a date YYYY-MM-DD", {}},
      {"date", "240229", "must be a date YYYY-MM-DD", {}},
      {"pair", "order", "", [](const Settings& s) { return s.pair == PairBy::Order; }},
      {"pair", "Order", "must be order, time or auto", {}},
      {"position", "post-processed", "", [](const Settings& s) { return s.position == PositionSource::PostProcessed; }},
      {"position", "mrk", "must be timestamps or post-processed", {}},
      {"cam1-offset", "-2.5", "", [](const Settings& s) { return s.camera1Offset == ClockOffset{-2.5}; }},
      {"cam2-offset", "+1e3", "", [](const Settings& s) { return s.camera2Offset == ClockOffset{1000}; }},
      {"cam1-offset", "auto", "", [](const Settings& s) { return s.camera1Offset.find; }},
      {"event-offset", "-18", "", [](const Settings& s) { return s.eventOffsetSeconds == -18; }},
      {"cam1-offset", "nan", "must be a number of seconds, or auto", {}},
      {"cam1-offset", "1,5", "must be a number of seconds, or auto", {}},
      {"cam1-offset", "-1000000001", "must be a number of seconds, or auto", {}},
      {"cam2-shutter-delay", "-15.5", "", [](const Settings& s) { return s.camera2DelayMilliseconds == -15.5; }},
      {"cam1-shutter-delay", "10001", "must be a number of milliseconds, 10000 at most", {}},
      {"cam1-lever-arm", "-0.2, 1e-1,3", "",
       [](const Settings& s) {
         return s.camera1LeverArm == LeverArm{-0.2, 0.1, 3};
       }},
      {"cam2-lever-arm", "1,2", "must be FORWARD,RIGHT,DOWN: three numbers of metres", {}},
      {"cam2-lever-arm", "1,2,3,4", "must be FORWARD,RIGHT,DOWN: three numbers of metres", {}},
      {"cam2-lever-arm", "1,,3", "must be FORWARD,RIGHT,DOWN: three numbers of metres", {}},
      {"cam2-lever-arm", "1,2,1e4", "must be FORWARD,RIGHT,DOWN: three numbers of metres", {}},
      {"max-gap", "0.001", "", [](const Settings& s) { return s.maxGapSeconds == 0.001; }},
      {"max-gap", "0", "must be a positive number of seconds", {}},
      {"tolerance", "0", "", [](const Settings& s) { return s.toleranceSeconds == 0; }},
      {"tolerance", "-0.01", "must be a number of seconds, not negative", {}},
      {"blur-factor", "1", "", [](const Settings& s) { return s.blurFactor == 1; }},
      {"blur-factor", "1.01", "must be a number from 0 to 1", {}},
      {"no-sharpness", "true", "", [](const Settings& s) { return !s.grade; }},
      {"no-sharpness", "false", "", [](const Settings& s) { return s.grade; }},
      {"overwrite", "yes", "must be true or false", {}},
      {"overwrite", "true", "", [](const Settings& s) { return s.overwrite; }},
      {"jobs", "1024", "", [](const Settings& s) { return s.jobs == 1024; }},
      {"jobs", "0", "must be a number from 1 to 1024", {}},
      {"jobs", "1025", "must be a number from 1 to 1024", {}},
      {"jobs", "2.5", "must be a number from 1 to 1024", {}},
      {"log", "a", "is not a setting", {}},
  };
  for (const auto& [key, text, complaint, holds] : rows) {
    Settings settings;
    const std::string failure = FailureOf([&] { Set(settings, key, text); }, WrongUsage());
    EXPECT_EQ(failure, *complaint ? std::string(key) + ' ' + complaint : "") << text;
    EXPECT_TRUE(!holds || holds(settings)) << key << ' ' << text;
  }
  Settings settings;
  EXPECT_EQ(SetFromText("events", std::string_view("a\0b", 3), settings), "must be a path, without NUL");
}

TEST(MissionToml, SettlesWhatIsLeftOpenElsewhere) {
  const TempFolder folder;
  folder.Write("wgs84.prj", "GEOGCS[]");
  folder.Write(
      "mission.toml",
      "trajectory = 'rover.nmea'\nevents = '/data/clock'\ndate = 2024-05-01\ncam1-offset = -2\ncam2-offset = "
      "'auto'\nmax-gap = 0.5\n"
      "pair = 'order'\nhousekeeping = 'a'\nblur-factor = 0.1\ntolerance = 1e-7\nno-sharpness = true\njobs = 3\n"
      "target = 'wgs84.prj'\n");
  Settings settings = SettingsOf(folder.Path());
  EXPECT_EQ(settings.mission, folder.Path());
  EXPECT_EQ(settings.trajectory, folder.Path() / "rover.nmea");
  EXPECT_EQ(settings.events, folder.Path() / "/data/clock");
  EXPECT_EQ(DateText(settings.date.value()), "2024-05-01");
  EXPECT_EQ(settings.camera1Offset.seconds, -2);
  EXPECT_TRUE(settings.camera2Offset.find);
  EXPECT_EQ(settings.maxGapSeconds, 0.5);
  EXPECT_EQ(settings.pair, PairBy::Order);
  EXPECT_EQ(settings.housekeeping, folder.Path() / "a");
  EXPECT_EQ(settings.blurFactor, 0.1);
  EXPECT_EQ(settings.toleranceSeconds, 1e-7);
  EXPECT_FALSE(settings.grade);
  EXPECT_EQ(settings.jobs, 3u);
  EXPECT_EQ(settings.target, (folder.Path() / "wgs84.prj").string());
  Set(settings, "cam1-offset", "1.5");  // the command line's
  EXPECT_EQ(settings.camera1Offset.seconds, 1.5);

  folder.Write("mission.toml", "target = 'EPSG:4326'\ndate = '2024-05-02'\n");
  EXPECT_EQ(SettingsOf(folder.Path()).target, "EPSG:4326");
  EXPECT_EQ(DateText(SettingsOf(folder.Path()).date.value()), "2024-05-02");
}

TEST(MissionToml, NamesLineAndKeyOfAFault) {
  struct {
    const char* content;
    const char* part;
  } const rows[] = {
      {"\ncamera1 = 'x'", "line 2: unknown key \"camera1\""},
      {"overwrite = true", "line 1: unknown key \"overwrite\""},
      {"output = 'o'", "line 1: unknown key \"output\""},
      {"cam1 = 5", "line 1: cam1 must be a string"},
      {"max-gap = '2'", "max-gap must be a number"},
      {"jobs = '2'", "jobs must be a number"},
      {"jobs = 2.5", "jobs must be a number from 1 to 1024"},
      {"no-sharpness = 1", "no-sharpness must be true or false"},
      {"no-sharpness = 'true'", "no-sharpness must be true or false"},
      {"cam1-offset = nan", "cam1-offset must be a number of seconds"},
      {"date = 5", "date must be a date"},
      {"date = 2024-05-01T12:00:00Z", "date must be a date"},
      {"date = '2024-02-30'", "date must be a date YYYY-MM-DD"},
      {"pair = 'both'", "pair must be order, time or auto"},
      {"pair = true", "pair must be a string"},
      {"pair = ", "line 1"},
      {"\nmax-gap = 0", "mission.toml: line 2: max-gap must be a positive number of seconds"},
      {"tolerance = -1", "mission.toml: line 1: tolerance must be a number of seconds, not negative"},
      {"events = 'a'\ncam1 = \"a\\u0000b\"", "line 2: cam1 must be a path"},
      {"events = ''", "line 1: events must not be empty"},
      {"events = '\xFF'", "line 1"},
      {"cam1-lever-arm = '0.2, -0.1, 0.3'\ncam2-lever-arm = 1", "line 2: cam2-lever-arm must be a string"},
  };
  const TempFolder folder;
  for (const auto& [content, part] : rows) {
    folder.Write("mission.toml", content);
    const auto failure = FailureOf([&] { SettingsOf(folder.Path()); }, WrongUsage());
    EXPECT_TRUE(Contains(failure, part)) << content << ": " << failure;
  }
}

}  // namespace
}  // namespace kv::mission
