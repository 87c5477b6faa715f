#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include <jpeglib.h>

#include "SimulatedFiles.h"

namespace {

namespace fs = std::filesystem;
using namespace simulated;

/// Width and height in pixels.
std::pair<unsigned, unsigned> Size(const fs::path& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.string().c_str(), "rb"), std::fclose);
  if (!file) return {};
  jpeg_error_mgr errors;
  jpeg_decompress_struct jpeg;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&jpeg);
  jpeg_stdio_src(&jpeg, file.get());
  jpeg_read_header(&jpeg, TRUE);
  const std::pair<unsigned, unsigned> size(jpeg.image_width, jpeg.image_height);
  jpeg_destroy_decompress(&jpeg);
  return size;
}

/// Sharpness of the photos of one camera.
struct Grades {
  std::vector<double> blurred, sharp;
};

double Median(const Grades& grades) {
  std::vector<double> all = grades.sharp;
  all.insert(all.end(), grades.blurred.begin(), grades.blurred.end());
  std::nth_element(all.begin(), all.begin() + std::ptrdiff_t(all.size() / 2), all.end());
  return all[all.size() / 2];
}

TEST(Simulation, PhotosAreTheOnesOfTheTruth) {
  for (const std::string names : {"stamp", "exif"}) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, "--minutes 3 --photo-size 200x120 --names " + names), 0);
    std::map<std::string, int> faults;
    std::set<fs::path> expected, found;
    Grades grades[2];
    for (const Truth& truth : ReadTruth(folder)) {
      ++faults[truth.fault];
      if (truth.photo.empty()) continue;
      const fs::path path = folder.Path() / "mission" / (truth.camera == 1 ? "cam1" : "cam2") / truth.photo;
      EXPECT_TRUE(expected.insert(path).second) << path;
      EXPECT_EQ(Size(path), std::make_pair(200u, 120u)) << path;
      std::wstring error;
      Grades& camera = grades[truth.camera - 1];
      (truth.blurred ? camera.blurred : camera.sharp)
          .push_back(KVUtilities::ComputeImageSharpnessFactor(path.wstring(), error));
      if (names == "stamp") continue;
      std::string time = truth.utc.substr(0, 19);
      std::replace(time.begin(), time.end(), '-', ':');
      time[10] = ' ';
      EXPECT_EQ(ExifText(path, EXIF_TAG_DATE_TIME_ORIGINAL), time);
      EXPECT_EQ(ExifText(path, EXIF_TAG_SUB_SEC_TIME_ORIGINAL), truth.utc.substr(20, 3));
      EXPECT_EQ(ExifText(path, EXIF_TAG_OFFSET_TIME_ORIGINAL), "+00:00");
    }
    for (const char* camera : {"cam1", "cam2"}) {
      for (const auto& entry : fs::directory_iterator(folder.Path() / "mission" / camera)) found.insert(entry.path());
    }
    EXPECT_EQ(found, expected);
    EXPECT_EQ(faults["photo missing"], 2);
    EXPECT_EQ(faults["before the first fix"], 1);
    EXPECT_EQ(grades[0].blurred.size() + grades[1].blurred.size(), 3u);  // 3 % of 114
    for (const Grades& camera : grades) {
      for (const double factor : camera.blurred) EXPECT_LT(factor, 0.01 * Median(camera));
      for (const double factor : camera.sharp) EXPECT_GT(factor, 0.7 * Median(camera));
    }
  }
}

TEST(Simulation, StampsPairEveryPhotoWithItsExposure) {
  for (const char* options : {"--minutes 3", "--minutes 2 --interval 1 --no-faults --seed 5"}) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--photo-size 16x16 ") + options), 0);
    FILETIME start{};
    std::vector<tagKVSystemEvent> events = CameraEvents(folder, start);
    std::map<std::wstring, SYSTEMTIME> times[2];
    std::map<double, std::wstring> expected, paired;
    std::wstring error;
    for (const Truth& truth : ReadTruth(folder)) {
      if (truth.photo.empty()) continue;
      const std::wstring name(truth.photo.begin(), truth.photo.end());
      times[truth.camera - 1][name] = KVUtilities::GetSystemTimeFromYYMMDD_HHMMSS(name, error);
      expected[truth.tick] = (truth.camera == 1 ? L"cam1\\" : L"cam2\\") + name;
    }
    KVUtilities::PopulatePhotoPathsUsingTimeStamps(events, L"cam1\\", L"cam2\\", L"cam1", L"cam2", times[0], times[1],
                                                   0.0, 0.0, error);
    for (const tagKVSystemEvent& event : events) paired[event.MasterTick] = event.PhotoPath.GetString();
    EXPECT_EQ(paired, expected) << options;
  }
}

}  // namespace
