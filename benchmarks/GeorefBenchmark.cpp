#include <benchmark/benchmark.h>

#include <vector>

#include "KVUtilities.h"
#include "Samples.h"

namespace {

constexpr std::size_t kObservations = 200'000;
constexpr std::size_t kEvents = 2'000;

std::vector<tagKVSystemEvent> Events(const std::vector<tagKVTrajectoryObs>& trajectory) {
  std::vector<tagKVSystemEvent> events(kEvents);
  for (std::size_t i = 0; i < kEvents; ++i) {
    events[i].AdjGpsSec = trajectory[i * (kObservations / kEvents)].AdjGpsSec + 0.03;
  }
  return events;
}

void LocateBatch(benchmark::State& state) {
  auto trajectory = SampleTrajectory(kObservations);
  auto events = Events(trajectory);
  std::wstring error;
  for (auto _ : state) KVUtilities::PopulateSystemEventLocationsUsingTrajectory(events, trajectory, error);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kEvents));
}
BENCHMARK(LocateBatch)->Unit(benchmark::kMillisecond);

// The peer: one plain scan from the start per event.
void LocateOneByOne(benchmark::State& state) {
  auto trajectory = SampleTrajectory(kObservations);
  auto events = Events(trajectory);
  std::wstring error;
  for (auto _ : state) {
    for (tagKVSystemEvent& event : events) {
      KVUtilities::ComputeLocationFromAdjGpsSeconds(event.AdjGpsSec, trajectory, event.Latitude, event.Longitude,
                                                    event.Altitude, error);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kEvents));
}
BENCHMARK(LocateOneByOne)->Unit(benchmark::kMillisecond);

}  // namespace
