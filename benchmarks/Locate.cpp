#include <memory>
#include <vector>

#include "Comparison.h"
#include "KVUtilities.h"
#include "Measures.h"
#include "Samples.h"
#include "baseline/Locations.h"

namespace {

constexpr std::size_t kObservations = 200'000, kEvents = 20'000, kLogEvents = 200;

/// All scan the same memory: where it lies decides how fast a plain scan is.
std::vector<tagKVTrajectoryObs>& Trajectory() {
  static auto trajectory = SampleTrajectory(kObservations);
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
using Populate = bool (*)(std::vector<Event>&, std::vector<tagKVTrajectoryObs>&, std::wstring&);

template <class Event>
Side Locate(const std::vector<double>& times, Populate<Event> populate) {
  const auto events = std::make_shared<std::vector<Event>>(times.size());
  for (std::size_t i = 0; i < times.size(); ++i) (*events)[i].AdjGpsSec = times[i];
  return ProcessorTime([=] {
    std::wstring error;
    populate(*events, Trajectory(), error);
  });
}

Side LocateLiterally(const std::vector<double>& times) {
  return ProcessorTime([=] {
    for (const double time : times) Keep(baseline::PlaceAt(time, Trajectory()));
  });
}

Side LocateLogEventsLiterally(const std::vector<double>& times) {
  return ProcessorTime([=] {
    for (std::size_t i = 0; i < times.size(); ++i) Keep(baseline::LogPlaceAt(i, times, Trajectory()));
  });
}

Side LocateOne(double time) {
  return ProcessorTime([=] {
    double latitude = 0, longitude = 0, altitude = 0;
    std::wstring error;
    KVUtilities::ComputeLocationFromAdjGpsSeconds(time, Trajectory(), latitude, longitude, altitude, error);
    Keep(latitude);
  });
}

}  // namespace

Row Locating(const Plan&) {
  const auto events = EventTimes(), off = TimesOffTheTrajectory();
  const double last = Trajectory().back().AdjGpsSec - 0.03;
  return {
      {"20,000 events on 200,000 fixes",
       "literal scan",
       AtLeast(300),
       LocateLiterally(events),
       Locate(events, KVUtilities::PopulateSystemEventLocationsUsingTrajectory),
       {},
       0,
       true},
      {"200 log events off the trajectory",
       "literal scan",
       AtLeast(1e4),
       LocateLogEventsLiterally(off),
       Locate(off, KVUtilities::PopulateLogEventLocationsUsingTrajectory),
       {},
       0,
       true},
      {"one event on 200,000 fixes", "literal scan", AtLeast(1), LocateLiterally({last}), LocateOne(last)},
  };
}
