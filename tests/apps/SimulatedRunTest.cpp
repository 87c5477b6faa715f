#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <numbers>
#include <set>
#include <string>
#include <vector>

#include "support/CommandTest.h"
#include "support/TempFolder.h"

namespace {

using Row = std::map<std::string, std::string>;

std::string Trimmed(std::string text) {
  text.erase(0, text.find_first_not_of(' '));
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

/// Rows of a dBASE table: a header of 32 bytes, 32 bytes for each column, the rows behind them.
std::vector<Row> ReadTable(const std::string& bytes) {
  const auto little = [&](std::size_t at, std::size_t count) {
    std::size_t value = 0;
    while (count-- > 0) value = value * 256 + static_cast<unsigned char>(bytes.at(at + count));
    return value;
  };
  const std::size_t headerSize = little(8, 2), rowSize = little(10, 2);
  std::vector<Row> rows(little(4, 4));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    std::size_t at = headerSize + i * rowSize + 1;
    for (std::size_t column = 32; column + 32 < headerSize; column += 32) {
      rows[i][bytes.substr(column, 11).c_str()] = Trimmed(bytes.substr(at, little(column + 16, 1)));
      at += little(column + 16, 1);
    }
  }
  return rows;
}

std::vector<Row> ReadCsv(const std::string& text) {
  std::vector<Row> rows;
  std::vector<std::string> names, values(1);
  for (const char c : text) {
    if (c == ',') values.emplace_back();
    if (c == '\n' && names.empty())
      names = values;
    else if (c == '\n')
      for (std::size_t i = 0; i < names.size(); ++i) (i == 0 ? rows.emplace_back() : rows.back())[names[i]] = values[i];
    if (c == '\n') values.assign(1, "");
    if (c != ',' && c != '\n') values.back() += c;
  }
  return rows;
}

double Number(const Row& row, const char* name) { return std::strtod(row.at(name).c_str(), nullptr); }

struct Metres {
  double north, east;
};
Metres DistanceOf(const Row& photo, const Row& exposure) {
  constexpr double kMetresPerDegree = 111'320;
  const double shrink = std::cos(Number(exposure, "latitude") * std::numbers::pi / 180);
  return {(Number(photo, "Latitude") - Number(exposure, "latitude")) * kMetresPerDegree,
          (Number(photo, "Longitude") - Number(exposure, "longitude")) * kMetresPerDegree * shrink};
}

/// @param tolerance  metres, along each axis
void ExpectPlace(const Row& photo, const Row& exposure, double tolerance) {
  EXPECT_NEAR(DistanceOf(photo, exposure).north, 0, tolerance);
  EXPECT_NEAR(DistanceOf(photo, exposure).east, 0, tolerance);
  EXPECT_NEAR(Number(photo, "Altitude"), Number(exposure, "height"), tolerance);
}

/// Across midnight, with photos named by stamp or dated by EXIF: every exposure without a fault is in the layer, with
/// its photo, its time and its place, and no other one is.
TEST(SimulatedRun, GivesTheTruthBack) {
  for (const std::string names : {"stamp", "exif"}) {
    const TempFolder temp;
    const std::string simulate =
        "simulate m -q --minutes 3 --start \"2025-06-18 23:58:30\" --photo-size 32x32 --names ";
    ASSERT_EQ(RunIn(temp, simulate + names), 0);
    RunIn(temp, "run m -o o -q");
    std::map<std::string, Row> truth;
    for (const Row& row : ReadCsv(temp.Read("m/truth.csv"))) {
      if (row.at("fault").empty()) truth[row.at("camera") + " " + row.at("master_tick")] = row;
    }
    const auto photos = ReadTable(temp.Read("o/photos.dbf"));
    ASSERT_GT(photos.size(), 50u);
    EXPECT_EQ(photos.size(), truth.size());
    for (const Row& photo : photos) {
      const std::string tick = photo.at("MasterTick").substr(0, photo.at("MasterTick").find('.'));
      ASSERT_TRUE(truth.count(photo.at("CameraID") + " " + tick)) << tick;
      const Row& exposure = truth[photo.at("CameraID") + " " + tick];
      EXPECT_EQ(photo.at("PhotoPath"),
                (temp.Path() / "m" / ("cam" + photo.at("CameraID")) / exposure.at("photo")).make_preferred().string());
      EXPECT_NEAR(Number(photo, "AdjGpsSec"), Number(exposure, "adj_gps_seconds"), 1e-3);
      ExpectPlace(photo, exposure, 0.02 + 0.005);  // interpolation, and the noise of the simulated receiver
    }
  }
}

/// Photos of a layer that are more than a metre from the truth, or were taken at no exposure.
std::size_t CountWrong(const TempFolder& temp) {
  std::map<std::string, Row> truth;
  for (const Row& row : ReadCsv(temp.Read("m/truth.csv")))
    truth["cam" + row.at("camera") + "/" + row.at("photo")] = row;
  std::size_t wrong = 0;
  for (const Row& photo : ReadTable(temp.Read("o/photos.dbf"))) {
    const std::string& path = photo.at("PhotoPath");
    const Row& exposure =
        truth.at(std::filesystem::path(path.substr(temp.Path().string().size() + 3)).generic_string());
    const auto [north, east] = DistanceOf(photo, exposure);
    wrong += exposure.at("master_tick") == "0" || std::hypot(north, east) > 1;
  }
  return wrong;
}

/// No photo is at a wrong place unless the exit code says that results are in doubt; then there is no photo layer.
TEST(SimulatedRun, PlacesNoPhotoWronglyWithoutADoubt) {
  struct {
    const char *simulate, *run;
    int code;
    std::size_t photos;  // in the layer
  } const rows[] = {
      {"--cam1-clock 37 --names exif", "", 4, 0},
      {"--cam1-clock 37 --names exif", "--cam1-offset auto", 3, 172},
      {"--cam1-clock -7200.4 --cam2-clock 2", "", 4, 0},
      {"--cam1-clock -7200.4 --cam2-clock 2", "--cam1-offset auto --cam2-offset auto", 3, 172},
      {"--cam1-clock 0.3 --cam2-clock 0.3", "", 3, 172},
      {"--names exif --cam1-drift 50 --extra-photos 0.05 --test-shots 20 --triggers irregular", "", 3, 0},
      {"--names exif --cam1-reset 0.5,3600 --triggers irregular", "", 4, 0},
      {"--names exif --cam1-reset 0.5,3600 --triggers irregular", "--cam1-offset auto", 3, 0},
      {"--lost-photos 0.1 --missed-events 0.1 --names exif", "--cam1-offset auto", 3, 0},
  };
  for (const auto& [simulate, run, code, photos] : rows) {
    SCOPED_TRACE(std::string(simulate) + " " + run);
    const TempFolder temp;
    const std::string options = std::string(" -q --minutes 4 --photo-size 16x16 ") + simulate;
    ASSERT_EQ(RunIn(temp, "simulate m" + options), 0);
    EXPECT_EQ(RunIn(temp, std::string("run m -o o -q --no-sharpness ") + run), code);
    EXPECT_EQ(std::filesystem::exists(temp.Path() / "o/photos.dbf"), code != 4);
    if (code == 4) continue;
    EXPECT_EQ(CountWrong(temp), 0u);
    const std::size_t inLayer = ReadTable(temp.Read("o/photos.dbf")).size();
    EXPECT_EQ(inLayer, photos > 0 ? photos : inLayer);
  }
}

/// Exposures that belong together, by station number in truth.csv, as pairs "tick tick".
std::set<std::string> TruePairs(const std::vector<Row>& truth) {
  std::map<std::string, std::string> ticks;
  std::set<std::string> pairs;
  for (const Row& exposure : truth) {
    if (exposure.at("station").empty()) continue;
    const auto [first, isFirst] = ticks.try_emplace(exposure.at("station"), exposure.at("master_tick"));
    if (!isFirst) pairs.insert(first->second + " " + exposure.at("master_tick"));
  }
  return pairs;
}

TEST(SimulatedRun, PairsTheTruePairsAndNamesTheBlurredPhotos) {
  const TempFolder temp;
  ASSERT_EQ(RunIn(temp, "simulate m -q --minutes 4 --seed 3 --photo-size 64x48"), 0);
  RunIn(temp, "run m -o o -q");
  const auto truth = ReadCsv(temp.Read("m/truth.csv"));
  std::set<std::string> pairs, blurred, named;
  for (const Row& station : ReadTable(temp.Read("o/stations.dbf"))) {
    const auto tick = [&](const char* name) { return station.at(name).substr(0, station.at(name).find('.')); };
    if (tick("Cam1MCTick") != "0" && tick("Cam2MCTick") != "0")
      pairs.insert(tick("Cam1MCTick") + " " + tick("Cam2MCTick"));
  }
  EXPECT_GT(pairs.size(), 50u);
  EXPECT_EQ(pairs, TruePairs(truth));
  for (const Row& exposure : truth) {
    if (exposure.at("blurred") == "1") blurred.insert(exposure.at("camera") + exposure.at("photo"));
  }
  const auto summary = nlohmann::json::parse(temp.Read("o/summary.json"));
  for (const auto& camera : summary["cameras"]) {
    for (const auto& photo : camera["sharpness"]["blurred"])
      named.insert(std::to_string(camera["camera"].get<int>()) + photo["photo"].get<std::string>());
  }
  EXPECT_EQ(named, blurred);
}

/// The receiver loses its corrections from 09:31:00 to 09:31:30: photos in between say so, and no others do.
TEST(SimulatedRun, SeparatesThePhotosWithoutRtk) {
  for (const auto& [option, word] : {std::pair("60,90,float", "FLOAT"), std::pair("60,90", "SINGLE")}) {
    const TempFolder temp;
    const std::string simulate = "simulate m -q --minutes 3 --photo-size 16x16 --rtk-lost ";
    ASSERT_EQ(RunIn(temp, simulate + option), 0);
    RunIn(temp, "run m -o o -q --no-sharpness");
    std::map<std::string, std::string> utc;  // by camera and tick
    for (const Row& row : ReadCsv(temp.Read("m/truth.csv")))
      utc[row.at("camera") + " " + row.at("master_tick")] = row.at("utc").substr(11, 12);
    std::size_t lost = 0;
    for (const Row& photo : ReadTable(temp.Read("o/photos.dbf"))) {
      const std::string tick = photo.at("MasterTick").substr(0, photo.at("MasterTick").find('.'));
      const std::string time = utc[photo.at("CameraID") + " " + tick];
      const bool isInside = time >= "09:31:00.000" && time < "09:31:29.900",
                 isAtEnd = time >= "09:30:59.900" && time < "09:31:30";
      const std::string quality = photo.at("POSQuality");
      EXPECT_EQ(quality, isInside ? word : isAtEnd ? "MIXED" : "FIXED") << time;
      lost += quality != "FIXED";
    }
    EXPECT_GT(lost, 10u);
    const auto summary = nlohmann::json::parse(temp.Read("o/summary.json"));
    for (const auto& finding : summary["findings"]) {
      if (finding["code"] == "rtk-lost") lost -= finding["values"]["count"].get<std::size_t>();
    }
    EXPECT_EQ(lost, 0u);
  }
}

/// The cameras are away from the antenna, and fire late or early: photos are where the cameras were when they exposed.
/// With exact attitude, in turns too, only interpolation and the files' digits are left. The orientation file is up to a
/// degree off, which is 22 mm at the longer arm; the track knows neither pitch nor roll.
TEST(SimulatedRun, PlacesCamerasByLeverArmAndShutterDelay) {
  struct {
    const char *simulate, *run, *quality;
    double tolerance;  // metres, along each axis
  } const rows[] = {
      {"--rate 50 --triggers nonstop --sbet gps --post-processed", "--trajectory m/rover.sbet", "POSTPROCESSED", 0.01},
      {"--rate 10 --triggers nonstop --sbet week --post-processed", "--trajectory m/rover.sbet", "POSTPROCESSED", 0.01},
      {"--rate 10", "", "SENSOR", 0.03},
      {"--rate 10", "--heading-from-track", "TRACK", 0.05},
  };
  const std::string mounts =
      " --cam1-lever-arm=0.2,-0.1,0.3 --cam1-shutter-delay 15 --cam2-lever-arm=-0.5,1.1,-0.4 --cam2-shutter-delay -8";
  for (const auto& [simulate, run, quality, tolerance] : rows) {
    SCOPED_TRACE(std::string(simulate) + " " + run);
    const TempFolder temp;
    const std::string options = std::string(" -q --minutes 3 --noise 0 --photo-size 16x16 ") + simulate + mounts;
    ASSERT_EQ(RunIn(temp, "simulate m" + options), 0);
    if (*quality == 'T') std::filesystem::remove(temp.Path() / "m/orientation.txt");
    RunIn(temp, std::string("run m -o o -q --no-sharpness ") + run + mounts);
    std::map<std::string, Row> truth;
    for (const Row& row : ReadCsv(temp.Read("m/truth.csv")))
      truth[row.at("camera") + " " + row.at("master_tick")] = row;
    const auto photos = ReadTable(temp.Read("o/photos.dbf"));
    EXPECT_GT(photos.size(), 50u);
    for (const Row& photo : photos) {
      const std::string tick = photo.at("MasterTick").substr(0, photo.at("MasterTick").find('.'));
      Row camera = truth.at(photo.at("CameraID") + " " + tick);
      const double delay = photo.at("CameraID") == "1" ? 0.015 : -0.008;
      EXPECT_NEAR(Number(photo, "AdjGpsSec"), Number(camera, "adj_gps_seconds") + delay, 1e-4);
      for (const std::string axis : {"latitude", "longitude", "height"}) camera[axis] = camera["camera_" + axis];
      ExpectPlace(photo, camera, tolerance);
      EXPECT_EQ(photo.at("ORIQuality"), quality);
    }
  }
}

/// Over the end of a GPS week, which is 18 s before the midnight that ends a Saturday.
TEST(SimulatedRun, GivesTheTruthOfADroneBack) {
  const TempFolder temp;
  const std::string simulate = "simulate m -q --drone --minutes 3 --start \"2025-06-21 23:58:30\" --photo-size 64x48";
  ASSERT_EQ(RunIn(temp, simulate), 0);
  RunIn(temp, "run m -o o -q");
  std::map<std::string, Row> truth;
  std::map<std::string, std::string> faulty;  // photo or time by fault
  std::set<std::string> blurred, named;
  for (const Row& row : ReadCsv(temp.Read("m/truth.csv"))) {
    if (row.at("fault").empty()) truth[(temp.Path() / "m" / row.at("photo")).make_preferred().string()] = row;
    if (!row.at("fault").empty()) faulty[row.at("fault")] = row.at("photo") + row.at("utc").substr(0, 23);
    if (row.at("blurred") == "1") blurred.insert(row.at("photo"));
  }
  const auto photos = ReadTable(temp.Read("o/photos.dbf"));
  ASSERT_GT(photos.size(), 30u);
  EXPECT_EQ(photos.size(), truth.size());
  for (const Row& photo : photos) {
    ASSERT_TRUE(truth.count(photo.at("PhotoPath"))) << photo.at("PhotoPath");
    const Row& exposure = truth[photo.at("PhotoPath")];
    EXPECT_NEAR(Number(photo, "AdjGpsSec"), Number(exposure, "adj_gps_seconds"), 1e-5);
    ExpectPlace(photo, exposure, 0.005 / std::sqrt(3.0) + 0.001);  // noise, and the file's last decimals
  }
  const auto summary = nlohmann::json::parse(temp.Read("o/summary.json"));
  const auto& camera = summary["cameras"][0];
  ASSERT_EQ(summary["dropped"].size(), 1u);
  EXPECT_EQ(summary["dropped"][0]["time"], faulty["photo missing"] + "Z");
  ASSERT_EQ(camera["photosWithoutEvent"].size(), 1u);
  EXPECT_EQ(faulty["timestamp missing"].find(camera["photosWithoutEvent"][0].get<std::string>()), 0u);
  for (const auto& photo : camera["sharpness"]["blurred"]) named.insert(photo["photo"].get<std::string>());
  EXPECT_EQ(named, blurred);
}

TEST(SimulatedRun, FindsTheExtremesOfTheOrientation) {
  const TempFolder temp;
  ASSERT_EQ(RunIn(temp, "simulate m -q --minutes 2 --no-photos"), 0);
  RunIn(temp, "run m -o o -q");
  const auto rows =
      ReadCsv("time,temperature,pitch,roll,heading,calibration,status,error\n" + temp.Read("m/orientation.txt"));
  std::set<double> rolls;
  for (const Row& row : rows) rolls.insert(Number(row, "roll"));
  const auto aos = nlohmann::json::parse(temp.Read("o/summary.json"))["orientation"];
  EXPECT_EQ(aos["entries"], rows.size());
  EXPECT_EQ(aos["first"], "2025-06-18T09:30:00.000Z");
  EXPECT_EQ(aos["last"], "2025-06-18T09:32:00.000Z");
  EXPECT_EQ(aos["readings"]["roll"]["lowest"]["value"], *rolls.begin());
  EXPECT_EQ(aos["readings"]["roll"]["highest"]["value"], *rolls.rbegin());
}

}  // namespace
