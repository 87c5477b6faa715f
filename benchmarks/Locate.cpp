#include <benchmark/benchmark.h>

#include <vector>

#include "KVUtilities.h"
#include "Samples.h"
#include "baseline/Locations.h"

namespace {

constexpr std::size_t kObservations = 200'000, kEvents = 20'000, kLogEvents = 400;

const std::vector<tagKVTrajectoryObs>& Trajectory() {
  static const auto trajectory = SampleTrajectory(kObservations);
  return trajectory;
}

std::vector<double> EventTimes() {
  std::vector<double> times;
  for (std::size_t i = 0; i < kEvents; ++i) {
    times.push_back(Trajectory()[i * (kObservations / kEvents)].AdjGpsSec + 0.03);
  }
  return times;
}

std::vector<double> TimesOffTheTrajectory() {
  std::vector<double> times;
  for (std::size_t i = 0; i < kLogEvents; ++i) times.push_back(1e6 + static_cast<double>(i));
  return times;
}

template <class Event>
void Locate(benchmark::State& state, const std::vector<double>& times,
            bool (*populate)(std::vector<Event>&, std::vector<tagKVTrajectoryObs>&, std::wstring&)) {
  auto trajectory = Trajectory();
  std::vector<Event> events(times.size());
  for (std::size_t i = 0; i < times.size(); ++i) events[i].AdjGpsSec = times[i];
  std::wstring error;
  for (auto _ : state) populate(events, trajectory, error);
}

void LocateEvents(benchmark::State& state) {
  Locate(state, EventTimes(), KVUtilities::PopulateSystemEventLocationsUsingTrajectory);
}
BENCHMARK(LocateEvents);

void LocateEventsLiterally(benchmark::State& state) {
  const auto times = EventTimes();
  for (auto _ : state) {
    for (const double time : times) benchmark::DoNotOptimize(baseline::PlaceAt(time, Trajectory()));
  }
}
BENCHMARK(LocateEventsLiterally)->Iterations(1);

void LocateLogEventsOff(benchmark::State& state) {
  Locate(state, TimesOffTheTrajectory(), KVUtilities::PopulateLogEventLocationsUsingTrajectory);
}
BENCHMARK(LocateLogEventsOff);

void LocateLogEventsOffLiterally(benchmark::State& state) {
  const auto times = TimesOffTheTrajectory();
  for (auto _ : state) {
    for (std::size_t i = 0; i < times.size(); ++i) {
      benchmark::DoNotOptimize(baseline::LogPlaceAt(i, times, Trajectory()));
    }
  }
}
BENCHMARK(LocateLogEventsOffLiterally)->Iterations(1);

void LocateOne(benchmark::State& state) {
  auto trajectory = Trajectory();
  const double time = trajectory.back().AdjGpsSec - 0.03;
  double latitude = 0, longitude = 0, altitude = 0;
  std::wstring error;
  for (auto _ : state) {
    KVUtilities::ComputeLocationFromAdjGpsSeconds(time, trajectory, latitude, longitude, altitude, error);
    benchmark::DoNotOptimize(latitude);
  }
}
BENCHMARK(LocateOne);

void LocateOneLiterally(benchmark::State& state) {
  const double time = Trajectory().back().AdjGpsSec - 0.03;
  for (auto _ : state) benchmark::DoNotOptimize(baseline::PlaceAt(time, Trajectory()));
}
BENCHMARK(LocateOneLiterally);

}  // namespace
