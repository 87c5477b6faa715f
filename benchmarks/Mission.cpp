#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <thread>
#include <vector>

#include "Measures.h"
#include "photos/PictureFile.h"
#include "platform/FileNames.h"

namespace {

namespace fs = std::filesystem;

const std::string kProgram = KVMISSION_PROGRAM;

template <class Call>
double SecondsOf(Call call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// A simulated mission of two cameras and the results of `run`.
class Mission {
 public:
  explicit Mission(const std::string& options) {
    if (!RunsQuietly(kProgram + " simulate -q --no-faults " + options + " '" + Path("mission") + "'")) std::abort();
    for (const char* camera : {"mission/cam1", "mission/cam2"}) {
      for (const auto& photo : fs::directory_iterator(folder_ / camera)) photos_.push_back(photo.path().string());
    }
  }

  const std::vector<std::string>& Photos() const { return photos_; }
  bool Run(const std::string& options = {}) const {
    return RunsQuietly(kProgram + " run '" + Path("mission") + "' -o '" + Path("out") + "' --overwrite " + options);
  }

  /// Decodes a share of the photos as grading does, with as many threads as there are processors.
  void Decode(std::size_t begin, std::size_t end) const {
    std::atomic<std::size_t> next = begin;
    std::vector<std::jthread> threads(std::max(1u, std::thread::hardware_concurrency()));
    for (auto& thread : threads) {
      thread = std::jthread([&] {
        for (std::size_t i = next++; i < end; i = next++) {
          constexpr int kFlags = cv::IMREAD_COLOR | cv::IMREAD_IGNORE_ORIENTATION;
          benchmark::DoNotOptimize(kv::ReadPicture(kv::WidePath(photos_[i]), kFlags).data);
        }
      });
    }
  }

  /// Writes files as large as the results.
  void WriteResults() const {
    fs::create_directories(folder_ / "copy");
    for (const auto& result : fs::directory_iterator(folder_ / "out")) {
      const std::string bytes(result.file_size(), 'x');
      std::ofstream(folder_ / "copy" / result.path().filename(), std::ios::binary) << bytes;
    }
  }

 private:
  std::string Path(const char* name) const { return (folder_ / name).string(); }

  ScratchFolder folder_;
  std::vector<std::string> photos_;
};

// 72 photos of 6 megapixels.
const Mission& ShortMission() {
  static const Mission mission("--minutes 2 --interval 2 --photo-size 3000x2000");
  return mission;
}

template <int kJobs>
void Grade(benchmark::State& state) {
  if (std::thread::hardware_concurrency() < 2) return Skip(state, "there is one processor only");
  std::string command = kProgram + " grade -q --jobs " + std::to_string(kJobs);
  for (const auto& photo : ShortMission().Photos()) command += " '" + photo + "'";
  for (auto _ : state) {
    if (!RunsQuietly(command)) state.SkipWithError("FAILED: kvmission");
  }
}
void GradeOnOneCore(benchmark::State& state) { Grade<1>(state); }
void GradeOnTwoCores(benchmark::State& state) { Grade<2>(state); }
BENCHMARK(GradeOnOneCore)->UseRealTime()->Iterations(1);
BENCHMARK(GradeOnTwoCores)->UseRealTime()->Iterations(1);

// An hour of fixes at 10 Hz and some 3,600 photos; none are taken in turns.
const Mission& HourOfMission() {
  static const Mission mission("--minutes 60 --rate 10 --interval 1.53 --photo-size 1280x960");
  return mission;
}

struct Shares {
  double run = 0, decoding = 0, writing = 0;  // seconds
};

// Decodes half of the photos before the run and half after it, so that a change in the machine's speed affects both.
Shares MeasureShares() {
  const Mission& mission = HourOfMission();
  const std::size_t photos = mission.Photos().size();
  Shares shares;
  shares.decoding = SecondsOf([&] { mission.Decode(0, photos / 2); });
  shares.run = SecondsOf([&] {
    if (!mission.Run()) std::abort();
  });
  shares.decoding += SecondsOf([&] { mission.Decode(photos / 2, photos); });
  shares.writing = SecondsOf([&] { mission.WriteResults(); });
  return shares;
}

Shares latest;

void DecodeAndWriteAlone(benchmark::State& state) {
  for (auto _ : state) latest = MeasureShares();
  state.counters["seconds"] = latest.decoding + latest.writing;
}
void RunMission(benchmark::State& state) {
  for (auto _ : state) state.counters["seconds"] = latest.run;
}
void TenthOfRun(benchmark::State& state) {
  for (auto _ : state) state.counters["seconds"] = latest.run / 10;
}
void RunWithoutGrading(benchmark::State& state) {
  for (auto _ : state) {
    if (!HourOfMission().Run("--no-sharpness")) state.SkipWithError("FAILED: kvmission");
  }
}
// The report is the difference of two runs, so it is measured in processor seconds, which other programs do not disturb.
double reportSeconds = 0;

void TwentiethOfRun(benchmark::State& state) {
  const Mission& mission = HourOfMission();  // first: simulating it takes time too
  const auto secondsOfRun = [&mission](const char* outputs) {
    const double before = ProgramSeconds();
    if (!mission.Run(outputs)) std::abort();
    return ProgramSeconds() - before;
  };
  for (auto _ : state) {
    const double run = secondsOfRun("--outputs shp,gpkg,report,json");
    reportSeconds = std::max(run - secondsOfRun("--outputs shp,gpkg,json"), 0.0);
    state.counters["seconds"] = run / 20;
  }
}
void ReportOfRun(benchmark::State& state) {
  for (auto _ : state) state.counters["seconds"] = reportSeconds;
}
BENCHMARK(TwentiethOfRun)->Iterations(1);
BENCHMARK(ReportOfRun)->Iterations(1);
BENCHMARK(DecodeAndWriteAlone)->Iterations(1);
BENCHMARK(RunMission)->Iterations(1);
BENCHMARK(TenthOfRun)->Iterations(1);
BENCHMARK(RunWithoutGrading)->UseRealTime()->Iterations(1);

}  // namespace
