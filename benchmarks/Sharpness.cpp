#include "photos/Sharpness.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <tuple>

#include "Comparison.h"
#include "KVUtilities.h"
#include "Measures.h"
#include "SimulatedMission.h"
#include "baseline/JpegRows.h"
#include "baseline/Sharpness.h"
#include "platform/FileNames.h"

namespace {

// A scene of soft waves, edges and sensor grain.
cv::Mat Scene(int columns, int rows) {
  cv::Mat scene(rows, columns, CV_8UC3);
  cv::theRNG().state = 1;
  cv::randn(scene, 0, 4);
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < columns; ++x) {
      const double wave = 100 + 60 * std::sin(x / 90.0) * std::cos(y / 70.0) + (x / 300 % 2 == y / 200 % 2 ? 30 : 0);
      auto& pixel = scene.at<cv::Vec3b>(y, x);
      for (int band = 0; band < 3; ++band) pixel[band] = cv::saturate_cast<uchar>(wave + pixel[band] - 10 * band);
    }
  }
  return scene;
}

// A photo in memory and on disk.
class Photo {
 public:
  Photo(int columns, int rows) : pixels_(Scene(columns, rows)) { cv::imwrite(path_.string(), pixels_); }

  const cv::Mat& Pixels() const { return pixels_; }
  std::string Path() const { return path_.string(); }

 private:
  ScratchFolder folder_;
  std::filesystem::path path_ = folder_ / "photo.jpg";
  cv::Mat pixels_;
};

const Photo& Photo24() {
  static const Photo photo(6000, 4000);
  return photo;
}
const Photo& Photo100() {
  static const Photo photo(12'000, 8'400);
  return photo;
}

double GradeFile(const Photo& photo) {
  std::wstring error;
  return KVUtilities::ComputeImageSharpnessFactor(kv::WidePath(photo.Path()), error);
}
double GradeFileInOneShot(const Photo& photo) {
  return baseline::SharpnessOf(cv::imread(photo.Path(), cv::IMREAD_COLOR));
}
double DecodeFile(const Photo& photo) { return baseline::DecodeRows(photo.Path()); }
double GradePixels(const Photo& photo) {
  const cv::Mat& pixels = photo.Pixels();
  kv::SharpnessMeter meter(pixels.size());
  const int bandRows = kv::BandRows(pixels.cols);
  for (int row = 0; row < pixels.rows; row += bandRows)
    meter.Add(pixels.rowRange(row, std::min(row + bandRows, pixels.rows)));
  return meter.Sharpness();
}
double GradePixelsInOneShot(const Photo& photo) { return baseline::SharpnessOf(photo.Pixels()); }

using Grade = double (*)(const Photo&);

Side Time(const Photo& photo, Grade grade) {
  return ProcessorTime([&photo, grade] { Keep(grade(photo)); });
}
Side Memory(const Photo& photo, Grade grade) {
  return PeakMemory([&photo, grade] { Keep(grade(photo)); });
}

// 72 photos of 6 megapixels.
Side GradePhotos(int jobs) {
  static const SimulatedMission mission("--minutes 2 --interval 2 --photo-size 3000x2000");
  return WallTime([=] { mission.Do("grade -q --jobs " + std::to_string(jobs) + " mission/cam1 mission/cam2"); });
}

}  // namespace

Row Grading(const Plan&) {
  cv::setNumThreads(1);
  Row row;
  for (const auto& [photo, size, isSlow] :
       {std::tuple(&Photo24(), "24 MP", false), std::tuple(&Photo100(), "100 MP", true)}) {
    const std::string pixels = std::string("sharpness of ") + size + " pixels";
    const std::string file = std::string("sharpness of a ") + size + " JPEG";
    const Side ours = Time(*photo, GradeFile), inOneShot = Time(*photo, GradeFileInOneShot);
    const Side pixelsInOneShot = Time(*photo, GradePixelsInOneShot), ourPixels = Time(*photo, GradePixels);
    const Side decoding = Time(*photo, DecodeFile), limit = Given(By::Memory, 8.0 * 1024 * 1024);
    row.push_back({pixels, "one-shot OpenCV", AtLeast(10), pixelsInOneShot, ourPixels, {}, 0, isSlow});
    row.push_back({file, "one-shot OpenCV", AtLeast(2.4), inOneShot, ours, {}, 0, isSlow});
    row.push_back({file, "libjpeg-turbo's decoding alone", AtMost(1.15), decoding, ours, {}, 0, isSlow});
    row.push_back({file + ": peak memory", "8 MiB", AtMost(1), limit, Memory(*photo, GradeFile), {}, 0, isSlow});
  }
  row.push_back({"grade 72 photos on two cores", "one core", AtLeast(1.9), GradePhotos(1), GradePhotos(2), {}, 2});
  return row;
}
