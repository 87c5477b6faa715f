#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "KVUtilities.h"

namespace {

constexpr int kPhotos = 2'000;

struct Sample {
  std::vector<tagKVSystemEvent> events;
  std::map<std::wstring, SYSTEMTIME> photos;
};

Sample OneEventEveryTwoSeconds() {
  Sample sample;
  for (int i = 0; i < kPhotos; ++i) {
    SYSTEMTIME time = KVUtilities::AddSecondsToSystemTime({2023, 12, 5, 22, 12, 0, 0, 0}, 2.0 * i);
    sample.photos[std::to_wstring(100'000 + i) + L".jpg"] = time;
    tagKVSystemEvent event;
    event.Type = 2;
    event.CameraID = 1;
    event.SystemTimeUTC = KVUtilities::AddSecondsToSystemTime(time, 0.25);
    sample.events.push_back(event);
  }
  return sample;
}

void PairByTimeBatch(benchmark::State& state) {
  const Sample sample = OneEventEveryTwoSeconds();
  std::wstring error;
  for (auto _ : state) {
    auto events = sample.events;
    KVUtilities::PopulatePhotoPathsUsingTimeStamps(events, L"", L"", L"cam1", L"cam2", sample.photos, {}, 0, 0, error);
    benchmark::DoNotOptimize(events.data());
  }
  state.SetItemsProcessed(state.iterations() * kPhotos);
}
BENCHMARK(PairByTimeBatch)->Unit(benchmark::kMillisecond);

// The peer: every photo looked at for every event, as the rule is worded.
void PairByTimeLiteral(benchmark::State& state) {
  const Sample sample = OneEventEveryTwoSeconds();
  for (auto _ : state) {
    for (const tagKVSystemEvent& event : sample.events) {
      double best = 3.4e38;
      const std::wstring* closest = nullptr;
      for (const auto& [name, time] : sample.photos) {
        const double seconds = KVUtilities::DeltaSecondsBetweenSystemTimes(
            KVUtilities::AddSecondsToSystemTime(time, 0.0), event.SystemTimeUTC);
        if (seconds >= best || seconds > 1.0) continue;
        best = seconds;
        closest = &name;
      }
      benchmark::DoNotOptimize(closest);
    }
  }
  state.SetItemsProcessed(state.iterations() * kPhotos);
}
BENCHMARK(PairByTimeLiteral)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
