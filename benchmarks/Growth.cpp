#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <random>
#include <string>
#include <vector>

#include "Comparison.h"
#include "Measures.h"
#include "platform/LargePages.h"

namespace {

namespace fs = std::filesystem;

/// What grows: only fixes, ten a second; or exposures of two cameras, with or without photos, on a trajectory of one
/// fix a second.
struct Kind {
  const char* name;
  int items;
  bool hasExposures, hasPhotos;
};
constexpr Kind kKinds[] = {{"10,000,000 fixes", 10'000'000, false, false},
                           {"1,000,000 exposures", 1'000'000, true, false},
                           {"100,000 photos", 100'000, true, true}};

/// The seconds at which both cameras expose: pauses of one or two seconds, so that a camera's clock is certain.
std::vector<int> SecondsOfExposures(int count) {
  std::mt19937 random(1);
  std::vector<int> seconds;
  for (int second = 0; std::ssize(seconds) < count; second += 1 + static_cast<int>(random() % 2))
    seconds.push_back(second);
  return seconds;
}

std::tm Calendar(int second) {
  const std::time_t time = 1'750'204'800 + second;  // 2025-06-18
  return *std::gmtime(&time);
}

/// Has a virtual machine fetch memory from its host, several times as much as the largest run takes. Otherwise a small
/// run finds what earlier programs have left, while a large one waits for the host: ten times as long for each page.
void FetchMemory() {
  constexpr std::size_t kBytes = std::size_t{4} << 30;
  std::vector<char> memory;
  kv::ReserveInLargePages(memory, kBytes);
  memory.resize(kBytes);
  Keep(memory.data());
}

/// A mission without faults: a slow circle under a clear sky.
class MadeMission {
 public:
  MadeMission(const Kind& kind, int items) {
    arguments_ = {"run", "-q", "--overwrite", "--jobs", "1", "--outputs", "json", "--date", "2025-06-18"};
    Add("--output", "out");
    Add("--trajectory", "fixes.nmea");
    if (kind.hasExposures) {
      WriteExposures(SecondsOfExposures(items / 2), kind.hasPhotos);
    } else {
      WriteTrajectory(items, 10);
    }
  }

  /// What a run without outputs other than the summary takes: processor seconds, or bytes.
  double Use(By by) const {
    if (by == By::Memory) return PeakMemoryOf(KVMISSION_PROGRAM, arguments_).measure();
    std::string command = KVMISSION_PROGRAM;
    for (const std::string& argument : arguments_) command += " '" + argument + "'";
    FetchMemory();
    const double before = ProcessorSeconds();
    Run(command + " || [ $? = 3 ]");  // finished, but incomplete: exposures without photos
    return ProcessorSeconds() - before;
  }

 private:
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

  void Add(const char* option, const std::string& file) {
    arguments_.insert(arguments_.end(), {option, (folder_ / file).string()});
  }

  void WriteExposures(const std::vector<int>& seconds, bool hasPhotos) {
    WriteTrajectory(seconds.back() + 2, 1);
    WriteEvents(seconds);
    if (hasPhotos) WritePhotos(seconds);
  }

  void WriteTrajectory(int fixes, int fixesPerSecond) const {
    const File file(std::fopen((folder_ / "fixes.nmea").c_str(), "wb"), std::fclose);
    for (int i = 0; i < fixes; ++i) {
      const int second = i / fixesPerSecond;
      const double along = static_cast<double>(i) / fixesPerSecond / 600;
      char text[128];
      std::snprintf(text, sizeof text, "GPGGA,%02d%02d%02d.%d0,48%010.7f,N,011%010.7f,E,4,12,0.8,%.3f,M,46.900,M,,",
                    second / 3600 % 24, second / 60 % 60, second % 60, i % fixesPerSecond * 10 / fixesPerSecond,
                    10 + std::sin(along) / 2, 30 + std::cos(along) / 2, 600 + std::sin(along / 7));
      unsigned checksum = 0;
      for (const char* at = text; *at; ++at) checksum ^= static_cast<unsigned char>(*at);
      std::fprintf(file.get(), "$%s*%02X\r\n", text, checksum);
    }
  }

  void WriteEvents(const std::vector<int>& exposures) {
    const File file(std::fopen((folder_ / "events.txt").c_str(), "wb"), std::fclose);
    auto next = exposures.begin();
    for (int second = 0; second <= exposures.back() + 1; ++second) {
      const std::tm time = Calendar(second);
      const long long tick = (second + 5) * 1'000'000LL;
      std::fprintf(file.get(), "%lld,%02d%02d%02d%02d%02d%02d\n", tick, time.tm_hour, time.tm_min, time.tm_sec,
                   time.tm_mday, time.tm_mon + 1, time.tm_year % 100);
      if (next == exposures.end() || *next != second) continue;
      std::fprintf(file.get(), "%lld,1\n%lld,2\n", tick + 300'000, tick + 320'000);
      ++next;
    }
    Add("--events", "events.txt");
  }

  void WritePhotos(const std::vector<int>& exposures) {
    cv::Mat noise(48, 64, CV_8UC3);
    cv::randn(noise, 128, 40);
    const fs::path photo = folder_ / "photo.jpg";
    cv::imwrite(photo.string(), noise);
    for (const char* camera : {"cam1", "cam2"}) {
      fs::create_directories(folder_ / camera);
      for (const int second : exposures) {
        const std::tm time = Calendar(second);
        char name[64];
        std::strftime(name, sizeof name, "%y%m%d_%H%M%S.jpg", &time);
        fs::copy_file(photo, folder_ / camera / name);
      }
      Add((std::string("--") + camera).c_str(), camera);
    }
  }

  ScratchFolder folder_;
  std::vector<std::string> arguments_;
};

/// Time or memory of each item beyond those of a small mission: start-up does not count.
Side PerItem(const std::shared_ptr<MadeMission>& mission, const std::shared_ptr<MadeMission>& small, int items, By by) {
  return {by, [=] { return (mission->Use(by) - small->Use(by)) / items; }};
}

}  // namespace

Row Growing(const Plan& plan) {
  Row row;
  for (const Kind& kind : kKinds) {
    const int items[] = {kind.items / 1000, kind.items / 10, kind.items};
    std::shared_ptr<MadeMission> missions[3];
    for (int i = 0; i < 3 && !plan.isQuick; ++i) missions[i] = std::make_shared<MadeMission>(kind, items[i]);
    for (const By by : {By::Processor, By::Memory})
      row.push_back({std::string("run, each of ") + kind.name,
                     "each of a tenth as many",
                     AtMost(1.3),
                     PerItem(missions[1], missions[0], items[1] - items[0], by),
                     PerItem(missions[2], missions[0], items[2] - items[0], by),
                     {},
                     0,
                     true});
  }
  return row;
}
