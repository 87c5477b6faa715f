#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "KVUtilities.h"
#include "baseline/PhotoPairing.h"
#include "baseline/Stations.h"

namespace {

constexpr int kPhotos = 5'000;
constexpr std::size_t kStationEvents = 20'000;
constexpr std::uint64_t kNoon = 133'477'200'000'000'000;  // 2023-12-22 12:00 UTC

struct Sample {
  std::vector<tagKVSystemEvent> events;
  std::map<std::wstring, SYSTEMTIME> photos;
};

Sample OneExposureEveryTwoSeconds() {
  Sample sample;
  for (int i = 0; i < kPhotos; ++i) {
    const SYSTEMTIME time = KVUtilities::AddSecondsToSystemTime({2023, 12, 5, 22, 12, 0, 0, 0}, 2.0 * i);
    sample.photos[std::to_wstring(100'000 + i) + L".jpg"] = time;
    tagKVSystemEvent event;
    event.Type = 2;
    event.CameraID = 1;
    event.SystemTimeUTC = KVUtilities::AddSecondsToSystemTime(time, 0.25);
    sample.events.push_back(event);
  }
  return sample;
}

// Times only the batch: its input is copied while the timer is paused.
void PairByTime(benchmark::State& state) {
  const Sample sample = OneExposureEveryTwoSeconds();
  std::wstring error;
  for (auto _ : state) {
    state.PauseTiming();
    auto events = sample.events;
    auto photos = sample.photos;
    state.ResumeTiming();
    KVUtilities::PopulatePhotoPathsUsingTimeStamps(events, L"", L"", L"cam1", L"cam2", std::move(photos), {}, 0, 0,
                                                   error);
    benchmark::DoNotOptimize(events.data());
    state.PauseTiming();
    events.clear();
    state.ResumeTiming();
  }
}
BENCHMARK(PairByTime);

void PairByTimeLiterally(benchmark::State& state) {
  const Sample sample = OneExposureEveryTwoSeconds();
  for (auto _ : state) {
    for (const tagKVSystemEvent& event : sample.events) {
      benchmark::DoNotOptimize(baseline::ClosestPhoto(event.SystemTimeUTC, sample.photos, 0, 1).data());
    }
  }
}
BENCHMARK(PairByTimeLiterally)->Iterations(1);

void PairByTimeAllowed(benchmark::State& state) {
  for (auto _ : state) state.counters["seconds"] = kPhotos * 1e-6;
}
BENCHMARK(PairByTimeAllowed)->Iterations(1);

std::vector<tagKVSystemEvent> CameraEvents(bool isShuffled) {
  std::vector<tagKVSystemEvent> events(kStationEvents);
  for (std::size_t i = 0; i < kStationEvents; ++i) {
    events[i].Type = 2;
    events[i].CameraID = 1 + static_cast<std::int32_t>(i % 2);
    events[i].TimeUTC = kv::FileTimeFromTicks(kNoon + i / 2 * 20'000'000 + i % 2 * 1000);
    events[i].MasterTick = static_cast<double>(i + 1);
  }
  if (isShuffled) std::shuffle(events.begin(), events.end(), std::mt19937_64(7));
  return events;
}

void FormStations(benchmark::State& state, bool isShuffled) {
  const auto events = CameraEvents(isShuffled);
  std::wstring error;
  for (auto _ : state) {
    benchmark::DoNotOptimize(KVUtilities::ComputeExposureStationsFromSystemEvents(events, 0.05, error).data());
  }
}
void FormStationsLiterally(benchmark::State& state, bool isShuffled) {
  const auto events = CameraEvents(isShuffled);
  for (auto _ : state) benchmark::DoNotOptimize(baseline::StationsOf(events, 0.05).data());
}

void StationsInOrder(benchmark::State& state) { FormStations(state, false); }
void StationsShuffled(benchmark::State& state) { FormStations(state, true); }
void StationsInOrderLiterally(benchmark::State& state) { FormStationsLiterally(state, false); }
void StationsShuffledLiterally(benchmark::State& state) { FormStationsLiterally(state, true); }
BENCHMARK(StationsInOrder);
BENCHMARK(StationsShuffled);
BENCHMARK(StationsInOrderLiterally)->Iterations(1);
BENCHMARK(StationsShuffledLiterally)->Iterations(1);

}  // namespace
