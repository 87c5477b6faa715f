#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "KVUtilities.h"
#include "platform/FileNames.h"

namespace {

namespace fs = std::filesystem;

constexpr int kSamples = 100'000;

// UTM 33 and heights on EGM96, as PROJ's own program is told.
constexpr const wchar_t* kTarget = L"EPSG:32633+5773";
constexpr const char* kPipeline =
    "+proj=pipeline +step +inv +proj=vgridshift +grids=egm96_15.gtx +multiplier=1 +step +proj=utm +zone=33 "
    "+ellps=WGS84";

class PosText {
 public:
  PosText() {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> latitude(40, 60), longitude(12, 18), height(0, 4000);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path_.c_str(), "wb"), std::fclose);
    for (int i = 0; i < kSamples; ++i) {
      std::fprintf(file.get(), "2200 %.3f %.9f %.9f %.4f 1 10 0.0035 0.0024 0.0075 -0.0009 0.0020 -0.0005 0.00 999.9\n",
                   100 + 0.1 * i, latitude(random), longitude(random), height(random));
    }
  }
  ~PosText() {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }
  PosText(const PosText&) = delete;
  PosText& operator=(const PosText&) = delete;

  const fs::path& Path() const { return path_; }
  bool TransformByCct(const fs::path& result) const {
    const std::string command = std::string("cct -d 6 -t 0 -c 4,3,5 ") + kPipeline + " '" + path_.string() + "' > '" +
                                result.string() + "' 2> /dev/null";
    return std::system(command.c_str()) == 0;
  }

 private:
  fs::path path_ = fs::temp_directory_path() / ("kvutilities-" + std::to_string(std::random_device()()) + ".pos");
};

std::vector<tagKVPosEvent> Scan(const PosText& text, const std::wstring& wkt) {
  std::wstring error;
  return KVUtilities::ScanKVPosFile(kv::WidePath(text.Path()), wkt, error);
}

std::wstring TargetWkt() {
  std::wstring error;
  return std::wstring(KVUtilities::DescribeCoordinateSystem(kTarget, error).Wkt);
}

void ScanAndTransformPos(benchmark::State& state) {
  const PosText text;
  const std::wstring wkt = TargetWkt();
  for (auto _ : state) benchmark::DoNotOptimize(Scan(text, wkt).data());
  state.SetItemsProcessed(state.iterations() * kSamples);
}
BENCHMARK(ScanAndTransformPos)->Unit(benchmark::kMillisecond)->UseRealTime();

// The peer reads the same columns of the same text. Its coordinates are compared once: the largest difference in
// metres.
void TransformPosByCct(benchmark::State& state) {
  const PosText text;
  const fs::path result = text.Path().string() + ".cct";
  for (auto _ : state) {
    if (!text.TransformByCct(result)) return state.SkipWithError("cct is not installed");
  }
  const auto samples = Scan(text, TargetWkt());
  std::ifstream lines(result);
  double largest = samples.empty() ? NAN : 0;
  for (const tagKVPosEvent& sample : samples) {
    double x = NAN, y = NAN, z = NAN;
    std::string rest;
    lines >> x >> y >> z;
    std::getline(lines, rest);
    for (const double difference : {sample.X - x, sample.Y - y, sample.Z - z}) {
      if (!(std::abs(difference) <= largest)) largest = std::abs(difference);
    }
  }
  state.counters["largest difference"] = largest;
  state.SetItemsProcessed(state.iterations() * kSamples);
  fs::remove(result);
}
BENCHMARK(TransformPosByCct)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
