#include "photos/Sharpness.h"

#include <benchmark/benchmark.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace {

// Pixels of a photo, in thousands by thousands: 24 and 100 megapixels.
void PhotoSizes(benchmark::internal::Benchmark* run) {
  run->Args({6, 4})->Args({12, 8})->Unit(benchmark::kMillisecond);
}

cv::Mat Photo(const benchmark::State& state) {
  cv::Mat photo(static_cast<int>(state.range(1)) * 1000, static_cast<int>(state.range(0)) * 1000, CV_8UC3);
  cv::theRNG().state = 1;
  cv::randu(photo, 0, 256);
  return photo;
}

void SharpnessInBands(benchmark::State& state) {
  const cv::Mat photo = Photo(state);
  for (auto _ : state) benchmark::DoNotOptimize(kv::SharpnessOf(photo));
}
BENCHMARK(SharpnessInBands)->Apply(PhotoSizes);

// The peer: each step on the whole picture.
void SharpnessInOneShot(benchmark::State& state) {
  const cv::Mat photo = Photo(state);
  for (auto _ : state) {
    cv::Mat grey, laplacian, mean, deviation;
    cv::cvtColor(photo, grey, cv::COLOR_RGB2GRAY);
    cv::Laplacian(grey, laplacian, CV_64F, 1, 1.0, 0.0, cv::BORDER_REFLECT_101);
    cv::meanStdDev(laplacian, mean, deviation);
    benchmark::DoNotOptimize(deviation.at<double>(0) * deviation.at<double>(0));
  }
}
BENCHMARK(SharpnessInOneShot)->Apply(PhotoSizes);

}  // namespace
