#include <benchmark/benchmark.h>

#include "GgaFile.h"
#include "KVUtilities.h"
#include "Measures.h"
#include "baseline/TrajectoryReaders.h"
#include "platform/FileNames.h"

namespace {

constexpr int kLines = 1'000'000;
constexpr FILETIME kDate = {0, 31'000'000};

const GgaFile& Sample() {
  static const GgaFile file(kLines);
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
