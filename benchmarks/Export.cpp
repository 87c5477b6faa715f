#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Comparison.h"
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

// Writes the layer with the library. Only that counts, not the copying of its input, which the operation takes over.
double ExportTo(const fs::path& path) {
  auto trajectory = Trajectory();
  std::wstring error;
  const double before = ProcessorSeconds();
  if (!KVUtilities::ExportTrajectoryPointShapefile(kv::WidePath(path), std::move(trajectory), error))
    throw std::runtime_error("no layer");
  return ProcessorSeconds() - before;
}

void ExportByShapelib(const fs::path& path) {
  const auto& fixes = Trajectory();
  baseline::PlainShapefile file(path.string(), SHPT_POINTZ, true,
                                baseline::TrajectoryPoint(fixes[0], 0, fixes[0], "M"));
  int number = 0;
  for (const tagKVTrajectoryObs& fix : fixes) {
    file.Append(baseline::TrajectoryPoint(fix, number++, fixes[0], "M"));
    Keep(fs::file_size(path));
  }
}

// Writes equally large files in blocks of 1 MiB.
void WriteTheSameBytes(const fs::path& points, const fs::path& copy) {
  std::vector<char> block(1 << 20, 'x');
  for (const char* extension : {".shp", ".shx", ".dbf"}) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen((copy.string() + extension).c_str(), "wb"),
                                                               std::fclose);
    for (auto rest = fs::file_size(fs::path(points).replace_extension(extension)); rest > 0;) {
      const std::size_t bytes = std::min<std::size_t>(rest, block.size());
      if (std::fwrite(block.data(), 1, bytes, file.get()) != bytes) throw std::runtime_error("nothing can be written");
      rest -= bytes;
    }
  }
}

}  // namespace

Row Exporting(const Plan&) {
  const auto folder = std::make_shared<ScratchFolder>();
  const fs::path points = *folder / "points.shp";
  ExportTo(points);
  const Side ours{By::Processor, [=] { return ExportTo(points); }};
  const std::string ogr =
      "ogr2ogr -overwrite -f 'ESRI Shapefile' '" + (*folder / "ogr").string() + "' '" + points.string() + "'";
  return {
      {"export 1,000,000 points",
       "shapelib, size asked per record",
       AtLeast(15),
       ProcessorTime([=] { ExportByShapelib(*folder / "plain.shp"); }),
       ours,
       {},
       0,
       true},
      {"export 1,000,000 points", "ogr2ogr", AtLeast(10), ProcessorTime([=] { Run(ogr); }), ours, "ogr2ogr", 0, true},
      {"export 1,000,000 points", "writing the same bytes", AtMost(2.5),
       ProcessorTime([=] { WriteTheSameBytes(points, *folder / "copy"); }), ours},
  };
}
