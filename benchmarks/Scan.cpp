#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>

#include "KVUtilities.h"
#include "Measures.h"
#include "baseline/TrajectoryReaders.h"
#include "platform/FileNames.h"

namespace {

constexpr int kLines = 1'000'000;
constexpr FILETIME kDate = {0, 31'000'000};

// More than a day of a receiver at 10 Hz.
class SampleFile {
 public:
  SampleFile() {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path_.c_str(), "wb"), std::fclose);
    for (int i = 0; i < kLines; ++i) {
      char text[128];
      std::snprintf(text, sizeof text, "GPGGA,%02d%02d%02d.%d0,4807.%05d,N,01131.%05d,E,4,12,0.8,%d.123,M,46.900,M,,",
                    i / 36'000 % 24, i / 600 % 60, i / 10 % 60, i % 10, i % 100'000, 99'999 - i % 100'000,
                    500 + i % 97);
      unsigned checksum = 0;
      for (const char* at = text; *at; ++at) checksum ^= static_cast<unsigned char>(*at);
      std::fprintf(file.get(), "$%s*%02X\r\n", text, checksum);
    }
  }
  const std::filesystem::path& Path() const { return path_; }

 private:
  ScratchFolder folder_;
  std::filesystem::path path_ = folder_ / "fixes.nmea";
};

const SampleFile& Sample() {
  static const SampleFile file;
  return file;
}

std::vector<tagKVTrajectoryObs> Scan() {
  std::wstring error;
  return KVUtilities::ScanKVTrajectoryFile(kv::WidePath(Sample().Path()), kDate, error);
}

void ScanTrajectory(benchmark::State& state) {
  Sample();
  for (auto _ : state) benchmark::DoNotOptimize(Scan().data());
}
BENCHMARK(ScanTrajectory);

template <auto kScan>
void ScanBy(benchmark::State& state) {
  Sample();
  for (auto _ : state) benchmark::DoNotOptimize(kScan(Sample().Path(), kDate).data());
}
void ScanByGetline(benchmark::State& state) { ScanBy<baseline::ScanByStrtod>(state); }
void ScanByWideTokens(benchmark::State& state) { ScanBy<baseline::ScanByWideTokens>(state); }
BENCHMARK(ScanByGetline);
BENCHMARK(ScanByWideTokens);

// Only reads: no output is requested. Without a date it silently drops all points, so a first run over a few lines
// checks that it keeps them.
void ScanByGpsbabel(benchmark::State& state) {
  if (!HasProgram("gpsbabel", state)) return;
  const std::string read = "gpsbabel -i nmea,date=20231222 -f '" + Sample().Path().string() + "'";
  const std::string firstLines =
      "head -n 1000 '" + Sample().Path().string() + "' | gpsbabel -i nmea,date=20231222 -f -";
  if (!RunsQuietly("test $(" + firstLines + " -t -o unicsv -F - | wc -l) = 1001"))
    return state.SkipWithError("FAILED: gpsbabel does not keep all points");
  for (auto _ : state) {
    if (!RunsQuietly(read)) state.SkipWithError("FAILED: gpsbabel");
  }
}
BENCHMARK(ScanByGpsbabel)->UseRealTime()->Iterations(1);

void ScanMemory(benchmark::State& state) {
  Sample();
  for (auto _ : state) state.counters["bytes"] = PeakBytes([] { benchmark::DoNotOptimize(Scan().data()); });
}
BENCHMARK(ScanMemory)->Iterations(1);

void ScanMemoryAllowed(benchmark::State& state) {
  for (auto _ : state) state.counters["bytes"] = kLines * double{sizeof(tagKVTrajectoryObs)} + 1024 * 1024;
}
BENCHMARK(ScanMemoryAllowed)->Iterations(1);

}  // namespace
