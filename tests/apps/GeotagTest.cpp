#include <cmath>
#include <map>
#include <numbers>
#include <sstream>

#include "support/CommandTest.h"

namespace {

namespace fs = std::filesystem;

struct Truth {
  double latitude, longitude, height;
  std::string utc;  // "2025-06-18T09:30:01.056091Z"
};

/// A small simulated mission, whose photos have EXIF data. Two exposures have no place, so that it is not complete.
class GeotagTest : public CommandTest {
 protected:
  void Prepare() override { ASSERT_EQ(Shell("$K simulate m -q --minutes 1.2 --photo-size 48x32 --names exif"), 0); }

  /// Of each photo, by "cam1/NAME", that has an exposure without a fault.
  std::map<std::string, Truth> Truths() {
    std::map<std::string, Truth> truths;
    std::istringstream file(temp_.Read("m/truth.csv"));
    for (std::string line; std::getline(file, line);) {
      std::vector<std::string> fields;
      std::istringstream row(line + ',');
      for (std::string field; std::getline(row, field, ',');) fields.push_back(field);
      if (fields[0] == "camera" || !fields[9].empty()) continue;
      truths["cam" + fields[0] + "/" + fields[7]] = {std::stod(fields[4]), std::stod(fields[5]), std::stod(fields[6]),
                                                     fields[2]};
    }
    return truths;
  }

  std::vector<std::string> Photos(const std::string& folder) {
    std::vector<std::string> photos;
    for (const auto& entry : fs::recursive_directory_iterator(temp_.Path() / folder)) {
      const fs::path name = fs::relative(entry.path(), temp_.Path() / folder);
      if (entry.path().extension() == ".jpg" && !name.string().starts_with("cam1/.") &&
          !name.string().starts_with("cam2/."))  // the hidden folder of a killed run
        photos.push_back(name.string());
    }
    return photos;
  }
};

TEST_F(GeotagTest, ExiftoolReadsTheTruthBack) {
  if (Shell("exiftool -ver") != 0) GTEST_SKIP() << "exiftool is not installed";
  ASSERT_EQ(Shell("exiftool -q -overwrite_original -Make=Maker -GPSProcessingMethod=MANUAL -GPSLatitude=1 "
                  "-GPSMeasureMode=3 -XMP-dc:Subject=kept -XMP-exif:GPSLatitude=1 -Comment=kept m/cam1\n"
                  "touch -d 2001-02-03 m/cam?/*.jpg; $K geotag m -o o --heights ellipsoid"),
            3)
      << Errors();
  ASSERT_EQ(Shell("exiftool -q -j -n -G1 -api largefilesupport=1 o/cam1 o/cam2"), 0) << Errors();
  const auto truths = Truths();
  const Json read = Json::parse(temp_.Read("out"));
  ASSERT_EQ(read.size(), truths.size());
  for (const Json& tags : read) {
    const std::string name = fs::relative(tags["SourceFile"].get<std::string>(), "o").string();
    SCOPED_TRACE(name);
    const Truth& truth = truths.at(name);
    const double metres = 111'320, shrink = std::cos(truth.latitude * std::numbers::pi / 180);
    EXPECT_NEAR(tags["Composite:GPSLatitude"].get<double>(), truth.latitude, 0.01 / metres);
    EXPECT_NEAR(tags["Composite:GPSLongitude"].get<double>(), truth.longitude, 0.01 / metres / shrink);
    EXPECT_NEAR(tags["Composite:GPSAltitude"].get<double>(), truth.height, 0.01);
    const auto time = tags["Composite:GPSDateTime"].get<std::string>();  // "2025:06:18 09:30:01.056091Z"
    EXPECT_EQ(time.substr(0, 17), truth.utc.substr(0, 4) + ":" + truth.utc.substr(5, 2) + ":" + truth.utc.substr(8, 2) +
                                      " " + truth.utc.substr(11, 6));
    EXPECT_NEAR(std::stod(time.substr(17)), std::stod(truth.utc.substr(17)), 0.001);
    EXPECT_TRUE(tags.contains("XMP-Camera:Yaw") && tags.contains("XMP-drone-dji:FlightYawDegree"));
    EXPECT_FALSE(tags.contains("ExifTool:Warning")) << tags;
    EXPECT_EQ(tags["System:FileModifyDate"].get<std::string>().substr(0, 10), "2001:02:03");
    if (name.starts_with("cam1")) {
      EXPECT_EQ(tags["GPS:GPSProcessingMethod"], "MANUAL");
      EXPECT_EQ(tags["XMP-dc:Subject"], "kept");
      EXPECT_EQ(tags["File:Comment"], "kept");
      EXPECT_FALSE(tags.contains("GPS:GPSMeasureMode") || tags.contains("XMP-exif:GPSLatitude"));
    }
    const std::string photo = temp_.Read("m/" + name), copy = temp_.Read("o/" + name);
    const std::string picture = photo.substr(photo.find("\xFF\xDB"));  // from the first table on
    EXPECT_TRUE(copy.ends_with(picture));
  }
}

TEST_F(GeotagTest, ChangesPhotosOnceAndKeepsThemInTheBackup) {
  ASSERT_EQ(Shell("cp -rp m n; touch -d 2001-02-03 n/cam?/*.jpg; chmod 640 n/cam1/*.jpg\n"
                  "$K geotag m -o o; $K geotag n --in-place --yes --backup b"),
            3)
      << Errors();
  const auto photos = Photos("o");
  ASSERT_GT(photos.size(), 20u);
  for (const auto& photo : photos) {
    EXPECT_EQ(temp_.Read("n/" + photo), temp_.Read("o/" + photo)) << photo;  // copies and photos alike
    EXPECT_EQ(temp_.Read("b/" + photo), temp_.Read("m/" + photo)) << photo;
    EXPECT_NE(temp_.Read("o/" + photo), temp_.Read("m/" + photo)) << photo;
  }
  // Again: nothing. With another place: the backup stays that of the photo without a geotag.
  EXPECT_EQ(Shell("list() { ls -il --time-style=full-iso n/* o/*; }; list > before\n"
                  "$K geotag n --in-place --yes --backup b; $K geotag m -o o; list | cmp - before"),
            0);
  EXPECT_EQ(Shell("grep -q 2001-02-03 before"), 0);
  EXPECT_TRUE(IsUnderWine() || Shell("test $(ls -l n/cam1/*.jpg | grep -c '^-rw-r-----') -gt 9") == 0);
  EXPECT_EQ(
      Shell("$K geotag n --in-place --yes --backup b --heights ellipsoid; cmp b/cam1/DSC_0009.jpg m/cam1/DSC_0009.jpg"),
      0)
      << Errors();
  EXPECT_EQ(Shell("$K geotag m -o o --overwrite --heights ellipsoid; cmp o/cam1/DSC_0009.jpg n/cam1/DSC_0009.jpg"), 0);
}

TEST_F(GeotagTest, NamesWhatItLeavesAlone) {
  const std::string photo = "m/cam1/DSC_0009.jpg", tag = "$K geotag m -o o", inPlace = "$K geotag m --in-place --yes";
  ExpectEach({
      {"$K geotag m", 2, "--output, or --in-place"},
      {"$K geotag m -o u --in-place", 2, "--output, or --in-place"},
      {"$K geotag m -o u --backup b", 2, "--backup goes with --in-place"},
      {"$K geotag m --in-place --backup ''", 2, "--backup: must not be empty"},
      {"$K geotag m --in-place < /dev/null", 2, "confirm with --yes"},
      {"$K geotag m -o u --heights sea", 2, "--heights must be"},
      {"$K geotag m -o m", 2, "apart from the photos"},
      {inPlace + " --backup m", 2, "apart from the photos"},
      {"mkdir o; ln -s ../m/cam1 o/cam1; " + tag, 2, "apart from the photos"},
      {"head -c -99 " + photo + " > x; mv x " + photo + "; " + tag, 3, "DSC_0009.jpg: not tagged: the file is cut off"},
      {tag + " -q; echo > o/cam1/DSC_0009.jpg; " + tag, 3, "DSC_0009.jpg exists and differs"},
      {"mkdir -p b/cam1; cp m/cam2/DSC_0009.jpg b/cam1; " + inPlace + " --backup b", 3,
       "DSC_0009.jpg is another picture"},
      {"ln -f m/cam1/DSC_0008.jpg x; rm m/cam1/DSC_0009.jpg; ln -s DSC_0008.jpg m/cam1/DSC_0009.jpg; " + tag +
           " --pair order --accept-doubt",
       4, "DSC_0009.jpg: not tagged: it serves two exposures"},
      {"rm m/cam1/DSC_0009.jpg; $K geotag m -o u --pair order", 4, "photos are not tagged; --accept-doubt tags them"},
      {"rm -r m/cam1/* m/cam2/*; $K geotag m -o u --accept-doubt", 1, "no photo has a place"},
  });
}

/// Killed or interrupted at any moment, every photo is the old or the tagged one.
TEST_F(GeotagTest, AnEndAtAnyMomentLeavesOldOrTaggedPhotos) {
  ASSERT_EQ(Shell("$K geotag m -o o"), 3) << Errors();
  const auto photos = Photos("o");
  for (const std::string signal : {"KILL", "TERM"}) {
    for (int i = 0; i < 4; ++i) {
      Shell("rm -rf n; cp -r m n; $K geotag n --in-place --yes & run=$!; sleep 0.0" + std::to_string(3 + 2 * i) +
            "; kill -" + signal + " $run; wait $run");
      for (const auto& photo : photos) {
        const std::string now = temp_.Read("n/" + photo);
        EXPECT_TRUE(now == temp_.Read("m/" + photo) || now == temp_.Read("o/" + photo)) << photo;
      }
    }
  }
}

}  // namespace
