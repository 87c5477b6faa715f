#include <benchmark/benchmark.h>
#include <shapefil.h>

#include <filesystem>
#include <string>
#include <vector>

#include "KVUtilities.h"
#include "Samples.h"

namespace {

constexpr std::size_t kObservations = 50'000;

std::string TargetPath() { return (std::filesystem::temp_directory_path() / "kvutilities-benchmark.shp").string(); }

void RemoveTarget() {
  for (const char* extension : {".shp", ".shx", ".dbf", ".prj"}) {
    std::filesystem::remove(std::filesystem::path(TargetPath()).replace_extension(extension));
  }
}

void ExportPoints(benchmark::State& state) {
  const auto trajectory = SampleTrajectory(kObservations);
  const std::string name = TargetPath();
  std::wstring error;
  for (auto _ : state) {
    if (!KVUtilities::ExportTrajectoryPointShapefile({name.begin(), name.end()}, trajectory, error)) std::abort();
  }
  RemoveTarget();
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kObservations));
}
BENCHMARK(ExportPoints)->Unit(benchmark::kMillisecond);

// The peer: shapelib's own hooks and attribute calls with as many columns, and the size of the .shp asked per record.
void ExportPointsPeer(benchmark::State& state) {
  const auto trajectory = SampleTrajectory(kObservations);
  const std::string name = TargetPath();
  for (auto _ : state) {
    SHPHandle shp = SHPCreate(name.c_str(), SHPT_POINTZ);
    DBFHandle dbf = DBFCreate(name.c_str());
    for (const char* column : {"C0", "C1", "C2", "C3", "C4"}) DBFAddField(dbf, column, FTString, 50, 0);
    for (const char* column : {"N0", "N1", "N2", "N3", "N4"}) DBFAddField(dbf, column, FTDouble, 14, 8);
    for (const tagKVTrajectoryObs& fix : trajectory) {
      SHPObject* shape = SHPCreateSimpleObject(SHPT_POINTZ, 1, &fix.Longitude, &fix.Latitude, &fix.Altitude);
      const int row = SHPWriteObject(shp, -1, shape);
      SHPDestroyObject(shape);
      benchmark::DoNotOptimize(std::filesystem::file_size(name));
      for (int column = 0; column < 5; ++column) DBFWriteStringAttribute(dbf, row, column, "2023-12-22 12:00:00.000");
      for (int column = 5; column < 10; ++column) DBFWriteDoubleAttribute(dbf, row, column, fix.Latitude);
    }
    DBFClose(dbf);
    SHPClose(shp);
  }
  RemoveTarget();
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kObservations));
}
BENCHMARK(ExportPointsPeer)->Unit(benchmark::kMillisecond);

}  // namespace
