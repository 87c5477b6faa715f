#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Comparison.h"
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

using Scanner = std::vector<tagKVTrajectoryObs> (*)(const std::filesystem::path&, FILETIME);

Side ScanBy(Scanner scan) {
  return ProcessorTime([=] { Keep(scan(Sample().Path(), kDate).data()); });
}

// Only reads: no output is requested. Without a date it silently drops all points, so a first run over a few lines
// checks that it keeps them.
Side ScanByGpsbabel() {
  const std::string log = "'" + Sample().Path().string() + "'", read = "gpsbabel -i nmea,date=20231222 -f ";
  return {By::Processor, [=, time = ProcessorTime([=] { Run(read + log); })] {
            Run("test $(head -n 1000 " + log + " | " + read + "- -t -o unicsv -F - | wc -l) = 1001");
            return time.measure();
          }};
}

/// The least that any reader does: the file's bytes come into memory, and a result of the records' size is filled.
void ReadAndTouch() {
  const std::size_t size = std::filesystem::file_size(Sample().Path());
  const auto bytes = std::make_unique_for_overwrite<char[]>(size);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(Sample().Path().c_str(), "rb"), std::fclose);
  if (std::fread(bytes.get(), 1, size, file.get()) != size) throw std::runtime_error("the log cannot be read");
  const std::vector<char> result(kLines * sizeof(tagKVTrajectoryObs), 1);
  Keep(bytes.get());
  Keep(result.data());
}

}  // namespace

Row Scanning(const Plan&) {
  constexpr double kMemoryAllowed = kLines * double{sizeof(tagKVTrajectoryObs)} + 1024 * 1024;
  Sample();
  const char* const what = "scan 1,000,000 GGA lines";
  const Call scan = [] { Keep(Scan().data()); };
  const Side ours = ProcessorTime(scan);
  return {
      {what, "getline + strtod", AtLeast(5), ScanBy(baseline::ScanByStrtod), ours},
      {what, "wide tokens + stod", AtLeast(8), ScanBy(baseline::ScanByWideTokens), ours},
      {what, "gpsbabel", AtLeast(80), ScanByGpsbabel(), ours, "gpsbabel", 0, true},
      {what, "reading its bytes, touching the result", AtMost(3), ProcessorTime(ReadAndTouch), ours},
      {"scan: peak memory", "records + 1 MiB", AtMost(1), Given(By::Memory, kMemoryAllowed), PeakMemory(scan)},
  };
}
