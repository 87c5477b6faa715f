#include "photos/Sharpness.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <opencv2/imgcodecs.hpp>

#include "KVUtilities.h"
#include "Measures.h"
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

using GetPhoto = const Photo& (*)();

double GradeFile(const Photo& photo) {
  std::wstring error;
  return KVUtilities::ComputeImageSharpnessFactor(kv::WidePath(photo.Path()), error);
}
double GradeFileInOneShot(const Photo& photo) {
  return baseline::SharpnessOf(cv::imread(photo.Path(), cv::IMREAD_COLOR));
}
double GradePixels(const Photo& photo) {
  const cv::Mat& pixels = photo.Pixels();
  kv::SharpnessMeter meter(pixels.size());
  const int bandRows = kv::BandRows(pixels.cols);
  for (int row = 0; row < pixels.rows; row += bandRows)
    meter.Add(pixels.rowRange(row, std::min(row + bandRows, pixels.rows)));
  return meter.Sharpness();
}
double GradePixelsInOneShot(const Photo& photo) { return baseline::SharpnessOf(photo.Pixels()); }

template <GetPhoto kPhoto, double (*kGrade)(const Photo&)>
void Time(benchmark::State& state) {
  const Photo& photo = kPhoto();  // made before the timer starts
  for (auto _ : state) benchmark::DoNotOptimize(kGrade(photo));
}

template <GetPhoto kPhoto, double (*kGrade)(const Photo&)>
void Memory(benchmark::State& state) {
  const Photo& photo = kPhoto();
  for (auto _ : state) state.counters["bytes"] = PeakBytes([&] { benchmark::DoNotOptimize(kGrade(photo)); });
}

const bool areRegistered = [] {
  struct {
    const char* name;
    void (*run)(benchmark::State&);
  } const cases[] = {
      {"SharpnessPixels24", Time<Photo24, GradePixels>},
      {"SharpnessPixels24InOneShot", Time<Photo24, GradePixelsInOneShot>},
      {"SharpnessPixels100", Time<Photo100, GradePixels>},
      {"SharpnessPixels100InOneShot", Time<Photo100, GradePixelsInOneShot>},
      {"SharpnessFile24", Time<Photo24, GradeFile>},
      {"SharpnessFile24InOneShot", Time<Photo24, GradeFileInOneShot>},
      {"SharpnessFile100", Time<Photo100, GradeFile>},
      {"SharpnessFile100InOneShot", Time<Photo100, GradeFileInOneShot>},
      {"SharpnessMemory24", Memory<Photo24, GradeFile>},
      {"SharpnessMemory24InOneShot", Memory<Photo24, GradeFileInOneShot>},
      {"SharpnessMemory100", Memory<Photo100, GradeFile>},
      {"SharpnessMemory100InOneShot", Memory<Photo100, GradeFileInOneShot>},
  };
  for (const auto& [name, run] : cases) benchmark::RegisterBenchmark(name, run);
  return true;
}();

}  // namespace
