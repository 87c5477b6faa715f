#include <chrono>
#include <cmath>
#include <set>

#include "SimulatedFiles.h"

namespace {

namespace fs = std::filesystem;
using namespace simulated;

/// Seconds since 1970 of "YYYY-MM-DDThh:mm:ss.ffffff", which may use any separators.
double Seconds(const std::string& text) {
  using namespace std::chrono;
  const auto part = [&](std::size_t at, std::size_t length) {
    return static_cast<int>(Number(text.substr(at, length)));
  };
  const sys_days date = year(part(0, 4)) / part(5, 2) / part(8, 2);
  return static_cast<double>(sys_seconds(date).time_since_epoch().count()) + part(11, 2) * 3600.0 + part(14, 2) * 60.0 +
         Number(text.substr(17));
}

fs::path Photo(const TempFolder& folder, const std::map<std::string, std::string>& truth) {
  const std::string camera = truth.at("camera") == "1" ? "cam1" : "cam2";
  return folder.Path() / "mission" / (truth.count("folder") ? truth.at("folder") : camera) / truth.at("photo");
}

/// Names and EXIF times tell the camera's clock, and the clock is off as asked for; the other camera's is right.
TEST(Trouble, CameraClocksAreOff) {
  const double start = Seconds("2025-06-18T09:30:00");
  const struct {
    const char* options;
    double offset, drift, resetAt, resetBy;
  } rows[] = {{"--cam1-clock 37.25", 37.25, 0.0, 1.0, 0.0},
              {"--cam1-clock -86400.5 --cam1-drift 500", -86400.5, 500e-6, 1.0, 0.0},
              {"--cam1-reset 0.5,-60 --interval 1", 0.0, 0.0, 0.5, -60.0},
              {"--cam1-drift -50 --cam1-reset 0,7200 --test-shots 4", 0.0, -50e-6, 0.0, 7200.0}};
  for (const auto& [options, offset, drift, resetAt, resetBy] : rows) {
    for (const std::string names : {"stamp", "exif"}) {
      const TempFolder folder;
      ASSERT_EQ(Simulate(folder, std::string("--minutes 3 --photo-size 16x16 --names ") + names + " " + options), 0);
      std::vector<std::map<std::string, std::string>> photos[2];
      for (const auto& truth : ReadTable(folder, "mission/truth.csv")) {
        if (!truth.at("photo").empty()) photos[truth.at("camera") == "1" ? 0 : 1].push_back(truth);
      }
      ASSERT_GT(photos[0].size(), 50u);
      std::set<fs::path> different;
      for (const auto& camera : photos) {
        for (std::size_t i = 0; i < camera.size(); ++i) {
          const double time = Seconds(camera[i].at("utc")), shown = Seconds(camera[i].at("camera_clock"));
          const double reset = static_cast<double>(i) >= resetAt * static_cast<double>(camera.size()) ? resetBy : 0.0;
          const double error = &camera == &photos[0] ? offset + drift * (time - start) + reset : 0.0;
          EXPECT_NEAR(shown - time, error, 2e-6) << options << i;
          const fs::path path = Photo(folder, camera[i]);
          EXPECT_TRUE(fs::exists(path) && different.insert(path).second) << path;
          const std::string name = camera[i].at("photo");
          const double told =
              names == "exif" ? Seconds(ExifText(path, EXIF_TAG_DATE_TIME_ORIGINAL)) +
                                    Number("0." + ExifText(path, EXIF_TAG_SUB_SEC_TIME_ORIGINAL))
                              : Seconds("20" + name.substr(0, 2) + "-" + name.substr(2, 2) + "-" + name.substr(4, 2) +
                                        "T" + name.substr(7, 2) + ":" + name.substr(9, 2) + ":" + name.substr(11, 2));
          EXPECT_NEAR(told, names == "exif" ? shown - 0.0005 : shown, names == "exif" ? 0.0005 + 1e-6 : 0.5 + 1e-6);
          EXPECT_TRUE(names == "exif" || name.substr(13) == ".jpg" || name.substr(13) == "_2.jpg") << name;
        }
      }
    }
  }
}

/// Of 110 exposures of each camera's stations, the asked share has each fault. Files and events.txt agree with it.
TEST(Trouble, PhotosAndEventsAreMissingOrExtra) {
  const struct {
    const char *option, *fault;
    int each;                   // of a camera
    bool photo, number, event;  // what such an exposure has; number: of the photo, in the camera's count
  } rows[] = {{"--lost-photos 0.1", "photo missing", 11, false, true, true},
              {"--failed-triggers 0.05", "no photo taken", 6, false, false, true},
              {"--missed-events 0.2", "event missing", 22, true, true, false},
              {"--extra-photos 0.1", "extra photo", 11, true, true, false},
              {"--test-shots 20", "test shot", 20, true, true, false}};
  for (const auto& [option, fault, each, photo, number, event] : rows) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--no-faults --photo-size 16x16 --names exif ") + option), 0);
    std::set<std::string> expected, found;
    Words ticks;
    int count[2] = {}, numbers[2] = {};
    double last = 0.0;
    for (const auto& truth : ReadTable(folder, "mission/truth.csv")) {
      const int camera = truth.at("camera") == "1" ? 0 : 1;
      const bool faulty = truth.at("fault") == fault;
      EXPECT_TRUE(faulty || truth.at("fault").empty()) << option;
      EXPECT_GE(Seconds(truth.at("utc")), last);
      last = Seconds(truth.at("utc"));
      EXPECT_EQ(std::string(fault) == "test shot" && faulty, last < Seconds("2025-06-18T09:30:00")) << last;
      count[camera] += faulty;
      numbers[camera] += !faulty || number;
      const std::string name = std::to_string(numbers[camera]);
      EXPECT_EQ(truth.at("photo"), !faulty || photo ? "DSC_" + std::string(4 - name.size(), '0') + name + ".jpg" : "");
      if (!faulty || photo) expected.insert(Photo(folder, truth).string());
      if (!faulty || event)
        ticks.push_back(truth.at("master_tick") + "," + truth.at("camera"));
      else
        EXPECT_EQ(truth.at("master_tick"), "0");
    }
    EXPECT_EQ(count[0], each) << option;
    EXPECT_EQ(count[1], each) << option;
    for (const char* camera : {"cam1", "cam2"}) {
      for (const auto& entry : fs::directory_iterator(folder.Path() / "mission" / camera))
        found.insert(entry.path().string());
    }
    EXPECT_EQ(found, expected) << option;
    Words events;
    for (std::string line : Lines(folder.Read("mission/events.txt"))) {
      line.pop_back();  // CR
      if (Split(line, ',')[1].size() == 1) events.push_back(line);
    }
    EXPECT_EQ(events, ticks) << option;
  }
}

TEST(Trouble, TriggersPauseAsAskedFor) {
  const struct {
    const char* triggers;
    double least, most, pause;  // shortest and longest pause on strips; longest of all
  } rows[] = {{"usual", 2.0, 2.07, 20.0},
              {"regular", 2.0, 2.0, 20.0},
              {"nonstop", 2.0, 2.0, 2.0},
              {"irregular", 2.1, 4.03, 20.0}};
  for (const auto& [triggers, least, most, pause] : rows) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--no-photos --no-faults --triggers ") + triggers), 0);
    double last = 0.0, shortest = 100.0, longest = 0.0, longestOfAll = 0.0;
    for (const auto& truth : ReadTable(folder, "mission/truth.csv")) {
      if (truth.at("camera") != "1") continue;
      const double time = Seconds(truth.at("utc")), passed = last > 0.0 ? time - last : least;
      last = time;
      longestOfAll = std::max(longestOfAll, passed);
      if (passed > 10.0) continue;  // a turn
      shortest = std::min(shortest, passed);
      longest = std::max(longest, passed);
    }
    EXPECT_NEAR(shortest, least, std::string(triggers) == "irregular" ? 0.1 : 0.001) << triggers;
    EXPECT_LE(longest, most + 1e-5) << triggers;
    EXPECT_GE(longest, 0.97 * most) << triggers;
    EXPECT_EQ(longestOfAll > 10.0, pause > 10.0) << triggers;
  }
}

TEST(Trouble, HeartbeatsAreInTheAskedTimeSystem) {
  const struct {
    const char *options, *first;
  } rows[] = {{"--event-clock utc", "093000180625"},
              {"--event-clock gps", "093018180625"},
              {"--event-clock gps --start 2010-12-31T23:59", "235915311210"},
              {"--event-clock local --start 23:00", "010000190625"}};
  for (const auto& [options, first] : rows) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--minutes 1 --no-photos ") + options), 0);
    const Words line = Split(Lines(folder.Read("mission/events.txt"))[0], ',');
    EXPECT_EQ(line.at(1), std::string(first) + "\r") << options;
  }
}

/// A camera's photos are where the options and the truth say.
TEST(Trouble, PhotosLieElsewhere) {
  const struct {
    const char *options, *folders[2];
  } rows[] = {{"--swap-cameras", {"cam2", "cam1"}},
              {"--photo-folders dcim", {"DCIM1", "DCIM2"}},
              {"--photo-folders nested --swap-cameras", {"cam2/100DSC", "cam1/100DSC"}}};
  for (const auto& [options, folders] : rows) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--minutes 1 --photo-size 16x16 --names exif ") + options), 0);
    for (const auto& truth : ReadTable(folder, "mission/truth.csv")) {
      EXPECT_EQ(truth.at("folder"), folders[truth.at("camera") == "1" ? 0 : 1]);
      if (truth.at("photo").empty()) continue;
      const std::string subSecond = ExifText(Photo(folder, truth), EXIF_TAG_SUB_SEC_TIME_ORIGINAL);
      EXPECT_EQ(subSecond, truth.at("utc").substr(20, 3)) << options;
    }
  }
}

}  // namespace
