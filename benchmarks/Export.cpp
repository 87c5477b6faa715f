#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "KVUtilities.h"
#include "Measures.h"
#include "Samples.h"
#include "baseline/TrajectoryPoints.h"
#include "platform/FileNames.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kObservations = 1'000'000;

const std::vector<tagKVTrajectoryObs>& Trajectory() {
  static const auto trajectory = SampleTrajectory(kObservations);
  return trajectory;
}

// Writes the layer with the library; the peers start from these files.
void ExportTo(const fs::path& path) {
  std::wstring error;
  if (!KVUtilities::ExportTrajectoryPointShapefile(kv::WidePath(path), Trajectory(), error)) std::abort();
}

void ExportPoints(benchmark::State& state) {
  const ScratchFolder folder;
  Trajectory();
  for (auto _ : state) ExportTo(folder / "points.shp");
}
BENCHMARK(ExportPoints)->UseRealTime();

void ExportPointsByShapelib(benchmark::State& state) {
  const ScratchFolder folder;
  const fs::path path = folder / "points.shp";
  const auto& fixes = Trajectory();
  for (auto _ : state) {
    baseline::PlainShapefile file(path.string(), SHPT_POINTZ, true,
                                  baseline::TrajectoryPoint(fixes[0], 0, fixes[0], "M"));
    int number = 0;
    for (const tagKVTrajectoryObs& fix : fixes) {
      file.Append(baseline::TrajectoryPoint(fix, number++, fixes[0], "M"));
      benchmark::DoNotOptimize(fs::file_size(path));
    }
  }
}
BENCHMARK(ExportPointsByShapelib)->UseRealTime()->Iterations(1);

void ExportPointsByOgr(benchmark::State& state) {
  if (!HasProgram("ogr2ogr", state)) return;
  const ScratchFolder folder;
  ExportTo(folder / "points.shp");
  const std::string command =
      "ogr2ogr -f 'ESRI Shapefile' '" + (folder / "ogr").string() + "' '" + (folder / "points.shp").string() + "'";
  for (auto _ : state) {
    if (!RunsQuietly(command)) state.SkipWithError("FAILED: ogr2ogr");
  }
}
BENCHMARK(ExportPointsByOgr)->UseRealTime()->Iterations(1);

// Writes equally large files in blocks of 1 MiB.
void WriteTheSameBytes(benchmark::State& state) {
  const ScratchFolder folder;
  ExportTo(folder / "points.shp");
  std::vector<char> block(1 << 20, 'x');
  for (auto _ : state) {
    for (const char* extension : {".shp", ".shx", ".dbf"}) {
      const std::string copy = (folder / "copy").string() + extension;
      const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(copy.c_str(), "wb"), std::fclose);
      for (auto rest = fs::file_size((folder / "points").replace_extension(extension)); rest > 0;) {
        const std::size_t bytes = std::min<std::size_t>(rest, block.size());
        if (std::fwrite(block.data(), 1, bytes, file.get()) != bytes) std::abort();
        rest -= bytes;
      }
    }
  }
}
BENCHMARK(WriteTheSameBytes)->UseRealTime();

}  // namespace
