#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "SimulatedFiles.h"

namespace {

using namespace simulated;

constexpr double kDegree = std::numbers::pi / 180.0;
constexpr double kSemiMajorAxis = 6378137.0, kFlattening = 1.0 / 298.257223563;  // WGS 84

std::vector<Place> LogFixes(const TempFolder& folder, bool geodetic = false) {
  std::vector<Place> fixes;
  for (const std::string& line : Lines(folder.Read("mission/trajectory.nmea"))) {
    if (line.find("GGA,") == 3 && Split(line, ',')[6] != "0") fixes.push_back(FixOf(line, geodetic));
  }
  return fixes;
}

/// By Bowring's formula.
Place FromEarthCentred(double x, double y, double z) {
  const double b = kSemiMajorAxis * (1.0 - kFlattening), e2 = kFlattening * (2.0 - kFlattening);
  const double p = std::hypot(x, y), theta = std::atan2(z * kSemiMajorAxis, p * b);
  const double latitude = std::atan2(z + e2 / (1.0 - e2) * b * std::pow(std::sin(theta), 3),
                                     p - e2 * kSemiMajorAxis * std::pow(std::cos(theta), 3));
  const double normal = kSemiMajorAxis / std::sqrt(1.0 - e2 * std::pow(std::sin(latitude), 2));
  return {0.0, latitude / kDegree, std::atan2(y, x) / kDegree, p / std::cos(latitude) - normal, 0};
}

/// The place at metres east, north and up of a reference at 47.646, 9.456 and 437.25 metres.
Place FromBaseline(double east, double north, double up) {
  const double latitude = 47.646 * kDegree, longitude = 9.456 * kDegree, e2 = kFlattening * (2.0 - kFlattening);
  const double normal = kSemiMajorAxis / std::sqrt(1.0 - e2 * std::pow(std::sin(latitude), 2));
  const double outward = up * std::cos(latitude) - north * std::sin(latitude) + (normal + 437.25) * std::cos(latitude);
  return FromEarthCentred(
      outward * std::cos(longitude) - east * std::sin(longitude),
      outward * std::sin(longitude) + east * std::cos(longitude),
      north * std::cos(latitude) + up * std::sin(latitude) + (normal * (1.0 - e2) + 437.25) * std::sin(latitude));
}

/// Whatever its form, a POS file has the times, places and qualities of the receiver's log.
TEST(Tracks, PosFilesHaveTheFixesOfTheLog) {
  enum Form { Degrees, Sexagesimal, EarthCentred, Baseline };
  const struct {
    const char *words, *header;  // how the line above the fixes begins
    Form form;
    bool calendar;
    double ahead;  // of UTC, seconds
    char separator;
    bool geodetic;
  } rows[] = {{"llh", "%  GPST ", Degrees, false, 18.0, ' ', false},
              {"llh,calendar,geodetic", "%  GPST ", Degrees, true, 18.0, ' ', true},
              {"dms,utc,comma", "%  UTC ", Sexagesimal, true, 0.0, ',', false},
              {"ecef,jst,tab", "%  JST ", EarthCentred, true, 32400.0, '\t', false},
              {"enu,semicolon", "%  GPST ", Baseline, false, 18.0, ';', false}};
  for (const auto& [words, header, form, calendar, ahead, separator, geodetic] : rows) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--minutes 2 --no-photos --rtk-lost 50,60,dgps --pos ") + words), 0);
    const std::vector<Place> fixes = LogFixes(folder, geodetic);
    const Words lines = Lines(folder.Read("mission/rover.pos"));
    ASSERT_EQ(lines.size(), fixes.size() + 5) << words;
    EXPECT_EQ(lines[4].find(header), 0u) << lines[4];
    EXPECT_EQ(lines[3].find("/geodetic") != lines[3].npos, geodetic) << lines[3];
    for (std::size_t i = 0; i < fixes.size(); ++i) {
      Words f;
      for (std::string word : Split(lines[i + 5], separator)) {
        if (separator != ' ' && calendar && f.empty()) f.push_back(word.substr(0, 10)), word.erase(0, 11);
        if (const std::size_t text = word.find_first_not_of(' '); text != word.npos) f.push_back(word.substr(text));
      }
      const auto n = [&](std::size_t at) { return Number(f.at(at)); };
      const double time = calendar ? SecondsOfDay(f[1]) : n(1) - 3 * 86400.0;
      EXPECT_EQ(f[0], calendar ? "2025/06/18" : "2371");  // a Wednesday
      EXPECT_NEAR(time - ahead, fixes[i].seconds, 1e-6) << lines[i + 5];
      const Place place = form == Degrees        ? Place{0.0, n(2), n(3), n(4), 0}
                          : form == Sexagesimal  ? Place{0.0, n(2) + n(3) / 60.0 + n(4) / 3600.0,
                                                        n(5) + n(6) / 60.0 + n(7) / 3600.0, n(8), 0}
                          : form == EarthCentred ? FromEarthCentred(n(2), n(3), n(4))
                                                 : FromBaseline(n(2), n(3), n(4));
      EXPECT_LT(Metres(place, fixes[i]), 0.0015) << lines[i + 5];
      const int quality = static_cast<int>(n(form == Sexagesimal ? 9 : 5));
      EXPECT_EQ(quality, fixes[i].quality == 4 ? 1 : fixes[i].quality == 5 ? 2 : fixes[i].quality == 2 ? 4 : 5);
    }
  }
}

TEST(Tracks, SbetAndGpxHaveTheFixesOfTheLogAndTheTrueAttitude) {
  struct {
    const char* time;
    double midnight;
  } const rows[] = {{"week", 3 * 86400.0 + 18.0}, {"gps", 2371 * 604800.0 + 3 * 86400.0 + 18.0}};
  for (const auto& [time, midnight] : rows) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--minutes 2 --no-photos --gpx --sbet ") + time), 0);
    const std::vector<Place> fixes = LogFixes(folder), levelled = LogFixes(folder, true);
    const std::string bytes = folder.Read("mission/rover.sbet");
    const Words points = Lines(folder.Read("mission/rover.gpx"));
    ASSERT_EQ(bytes.size(), fixes.size() * 17 * 8);
    ASSERT_EQ(points.size(), fixes.size() + 5);
    for (std::size_t i = 0; i < fixes.size(); ++i) {
      double r[17];
      std::memcpy(r, bytes.data() + i * sizeof r, sizeof r);
      EXPECT_NEAR(r[0] - midnight, fixes[i].seconds, 1e-6);
      EXPECT_LT(Metres({0.0, r[1] / kDegree, r[2] / kDegree, r[3], 0}, fixes[i]), 0.0015);
      const Words attributes = Split(points[i + 3], '"'), elements = Split(points[i + 3], '>');
      EXPECT_LT(
          Metres({0.0, Number(attributes.at(1)), Number(attributes.at(3)), Number(elements.at(2)), 0}, levelled[i]),
          0.0015);
      EXPECT_NEAR(SecondsOfDay(elements.at(4).substr(11, 12)), fixes[i].seconds, 1e-6);
    }
    const Words readings = Lines(folder.Read("mission/orientation.txt"));
    for (const auto& truth : ReadTable(folder, "mission/truth.csv")) {
      const double at = SecondsOfDay(truth.at("utc").substr(11));
      const auto after = std::find_if(fixes.begin(), fixes.end(), [&](const Place& fix) { return fix.seconds > at; });
      if (after == fixes.begin()) continue;
      double r[17];
      std::memcpy(r, bytes.data() + std::size_t(after - fixes.begin() - 1) * sizeof r, sizeof r);
      const Words reading = Split(readings.at(static_cast<std::size_t>(std::lround((at - 34200.0) * 2.0))), ',');
      const char* const names[] = {"roll", "pitch", "heading"};
      for (const std::size_t k : {0u, 1u, 2u}) {  // the sensor's pitch comes before its roll, with noise
        const double sensed = Number(reading.at(k == 0 ? 3 : k == 1 ? 2 : 4)), angle = Number(truth.at(names[k]));
        EXPECT_NEAR(std::remainder(r[7 + k] / kDegree - angle, 360.0), 0.0, 0.1) << names[k];
        EXPECT_NEAR(std::remainder(sensed - angle, 360.0), 0.0, 0.7) << names[k];
      }
    }
  }
}

/// A post-processed solution has every epoch, all fixed, and does not share the receiver's errors.
TEST(Tracks, PostProcessedFixesAreGoodWhereTheReceiversAreNot) {
  const TempFolder folder;
  ASSERT_EQ(Simulate(folder, "--minutes 2 --no-photos --rtk-lost 50,90 --post-processed --pos llh"), 0);
  const std::vector<Place> log = LogFixes(folder);
  const Words lines = Lines(folder.Read("mission/rover.pos"));
  ASSERT_EQ(lines.size(), 1201u + 5);
  double largest = 0.0;
  for (const Place& fix : log) {
    const auto epoch = static_cast<std::size_t>(std::lround((fix.seconds - 34200.0) * 10.0));
    Words f;
    for (const std::string& word : Split(lines[epoch + 5], ' ')) {
      if (!word.empty()) f.push_back(word);
    }
    EXPECT_EQ(f.at(5), "1");
    const double metres = Metres({0.0, Number(f[2]), Number(f[3]), Number(f[4]), 0}, fix);
    EXPECT_TRUE(fix.quality != 4 || metres < 0.0101) << metres;
    largest = std::max(largest, metres);
  }
  EXPECT_GT(largest, 0.4);
}

double Bearing(const Place& offset) { return std::atan2(offset.longitude, offset.latitude) / kDegree; }

/// Each axis of a lever arm points where the attitude says, and a delay moves the camera along the flight.
TEST(Tracks, CamerasAreWhereArmDelayAndAttitudeSay) {
  const struct {
    const char* options;
    double forward, right, down, delay;  // metres, seconds
  } rows[] = {{"--cam1-lever-arm 2,0,0", 2.0, 0.0, 0.0, 0.0},
              {"--cam1-lever-arm 0,-2,0", 0.0, -2.0, 0.0, 0.0},
              {"--cam1-lever-arm 0,0,2", 0.0, 0.0, 2.0, 0.0},
              {"--cam1-shutter-delay 100", 0.0, 0.0, 0.0, 0.1},
              {"--cam1-lever-arm 0,0,2 --drone", 0.0, 0.0, 2.0, 0.0}};
  for (const auto& [options, forward, right, down, delay] : rows) {
    const TempFolder folder;  // strips only, where the flight is steady
    ASSERT_EQ(Simulate(folder, std::string("--no-photos --no-faults ") + options), 0);
    const bool drone = std::string(options).find("--drone") != std::string::npos;
    const Words marks = drone ? Lines(folder.Read("mission/flight.MRK")) : Words();
    std::size_t line = 0;
    for (const auto& truth : ReadTable(folder, "mission/truth.csv")) {
      const auto n = [&](const char* name) { return Number(truth.at(name)); };
      const Place offset = Offset({0.0, n("latitude"), n("longitude"), n("height"), 0},
                                  {0.0, n("camera_latitude"), n("camera_longitude"), n("camera_height"), 0});
      const double level = std::hypot(offset.latitude, offset.longitude);
      const double roll = n("roll") * kDegree, pitch = n("pitch") * kDegree;
      if (truth.at("camera") == "2") {
        EXPECT_LT(level, 1e-4);
      } else if (delay > 0.0) {
        EXPECT_NEAR(level, 12.0 * delay, 0.02);
        EXPECT_NEAR(std::remainder(Bearing(offset) - n("heading"), 360.0), 0.0, 0.2);
      } else {
        const double side = right < 0.0 ? -90.0 : 0.0;
        const double aside = std::remainder(Bearing(offset) - n("heading") - side, 360.0);
        EXPECT_TRUE(down > 0.0 || std::abs(aside) < 0.1) << aside;
        EXPECT_NEAR(offset.height,
                    forward * std::sin(pitch) - right * std::sin(roll) * std::cos(pitch) -
                        down * std::cos(roll) * std::cos(pitch),
                    2e-4);
        EXPECT_NEAR(std::hypot(level, offset.height), 2.0, 1e-3);
      }
      if (!drone) continue;
      const Words fields = Split(marks.at(line++), '\t');
      const double expected[] = {offset.latitude, offset.longitude, -offset.height};
      for (const std::size_t k : {0u, 1u, 2u})
        EXPECT_NEAR(Number(fields[3 + k].substr(fields[3 + k].find_first_not_of(' '))), expected[k] * 1000.0, 1.0);
    }
  }
}

}  // namespace
