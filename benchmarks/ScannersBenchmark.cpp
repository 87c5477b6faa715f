#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "KVUtilities.h"

namespace {

constexpr int kLines = 200'000;

// A trajectory file that lives as long as the process.
class SampleFile {
 public:
  SampleFile() : path_(std::filesystem::temp_directory_path() / "kvutilities-benchmark.nmea") {
    std::ofstream file(path_, std::ios::binary);
    char line[128];
    for (int i = 0; i < kLines; ++i) {
      const int length = std::snprintf(
          line, sizeof line, "$GPGGA,%02d%02d%02d.%d0,4807.%07d,N,01131.%07d,E,4,12,0.8,%d.123,M,46.900,M,,*47\r\n",
          i / 36000 % 24, i / 600 % 60, i / 10 % 60, i % 10, i, 9'999'999 - i, 500 + i % 97);
      file.write(line, length);
    }
  }
  ~SampleFile() { std::filesystem::remove(path_); }

  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

const SampleFile& Sample() {
  static const SampleFile file;
  return file;
}

void ScanTrajectory(benchmark::State& state) {
  const std::string name = Sample().Path().string();
  const std::wstring path(name.begin(), name.end());
  std::wstring error;
  for (auto _ : state) {
    benchmark::DoNotOptimize(KVUtilities::ScanKVTrajectoryFile(path, {0, 31'000'000}, error));
  }
  state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(ScanTrajectory)->Unit(benchmark::kMillisecond);

// The peer: getline, a string per field, strtod; no dates, no leap seconds, no checks.
void ScanTrajectoryPeer(benchmark::State& state) {
  for (auto _ : state) {
    std::ifstream file(Sample().Path());
    std::vector<double> numbers;
    for (std::string line; std::getline(file, line);) {
      std::vector<std::string> fields;
      for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1) {
        end = line.find(',', begin);
        fields.push_back(line.substr(begin, end - begin));
      }
      for (const std::size_t i : {1u, 2u, 4u, 9u, 11u}) numbers.push_back(std::strtod(fields[i].c_str(), nullptr));
    }
    benchmark::DoNotOptimize(numbers.data());
  }
  state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(ScanTrajectoryPeer)->Unit(benchmark::kMillisecond);

}  // namespace
