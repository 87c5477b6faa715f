#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "KVUtilities.h"
#include "baseline/Stations.h"
#include "support/TestSize.h"
#include "support/Times.h"

namespace {

using Events = std::vector<tagKVSystemEvent>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint64_t kNoon = 133'477'200'000'000'000;  // 2023-12-22 12:00 UTC
constexpr std::uint64_t kMillisecond = 10'000;

tagKVSystemEvent Exposure(std::int32_t camera, std::uint64_t ticks, int type = 2) {
  tagKVSystemEvent event;
  event.Type = type;
  event.CameraID = camera;
  event.TimeUTC = kv::FileTimeFromTicks(ticks);
  return event;
}

// Every event gets a number that tells it in a station. A placeholder has none.
Events Numbered(Events events) {
  for (std::size_t i = 0; i < events.size(); ++i) events[i].MasterTick = static_cast<double>(i + 1);
  return events;
}

using Outline = baseline::StationOutline;

Outline OutlineOf(const tagKVExposureStation& station) {
  return {static_cast<int>(station.Cam1Event.MasterTick), static_cast<int>(station.Cam2Event.MasterTick),
          kv::Ticks(station.TimeUTC)};
}

std::vector<Outline> Stations(const Events& events, double tolerance) {
  std::wstring error = L"left over";
  std::vector<Outline> outlines;
  for (const auto& station : KVUtilities::ComputeExposureStationsFromSystemEvents(events, tolerance, error)) {
    outlines.push_back(OutlineOf(station));
  }
  EXPECT_EQ(error, L"");
  return outlines;
}

TEST(ExposureStations, TheNearestOpenEventInsideTheToleranceIsThePartner) {
  const auto at = [](std::int32_t camera, std::uint64_t milliseconds) {
    return Exposure(camera, kNoon + milliseconds * kMillisecond);
  };
  struct {
    const char* what;
    Events events;
    double tolerance;
    std::vector<std::array<int, 3>> stations;  // the numbers of both events, milliseconds
  } const rows[] = {
      {"a pair", {at(1, 0), at(2, 20)}, 0.05, {{1, 2, 10}}},
      {"the tolerance itself is outside", {at(1, 0), at(2, 20)}, 0.02, {{1, 0, 0}, {0, 2, 20}}},
      {"its sign is ignored", {at(1, 0), at(2, 20)}, -0.05, {{1, 2, 10}}},
      {"not a number: nothing is inside", {at(1, 0), at(2, 0)}, kNaN, {{1, 0, 0}, {0, 2, 0}}},
      {"used ones drop out", {at(1, 0), at(2, 10), at(1, 20)}, 1, {{1, 2, 5}, {3, 0, 20}}},
      {"the earliest of equal differences", {at(1, 50), at(2, 60), at(2, 40)}, 1, {{1, 2, 55}, {0, 3, 40}}},
      {"the same, later in time", {at(1, 50), at(2, 40), at(2, 60)}, 1, {{1, 2, 45}, {0, 3, 60}}},
      {"visited first, but not camera 1", {at(7, 0), at(1, 20)}, 1, {{2, 1, 10}}},
      {"one camera, on purpose", {at(1, 0), at(1, 20)}, 1, {{1, 2, 10}}},
      {"other kinds take no part", {at(1, 0), Exposure(-1, kNoon, 1), at(2, 20)}, 1, {{1, 3, 10}}},
      {"no camera events", {Exposure(-1, kNoon, 1)}, 1, {}},
  };
  for (const auto& [what, events, tolerance, stations] : rows) {
    std::vector<Outline> expected;
    for (const auto& [first, second, milliseconds] : stations) {
      expected.emplace_back(first, second, kNoon + static_cast<std::uint64_t>(milliseconds) * kMillisecond);
    }
    EXPECT_EQ(Stations(Numbered(events), tolerance), expected) << what;
  }
}

TEST(ExposureStations, AStationStandsInTheMiddleAndKeepsItsEvents) {
  auto cam1 = Exposure(1, kNoon), cam2 = Exposure(2, kNoon + 200'000);
  std::tie(cam1.Latitude, cam1.Longitude, cam1.Altitude) = std::tuple(48.0, 11.0, 500.0);
  std::tie(cam2.Latitude, cam2.Longitude, cam2.Altitude) = std::tuple(49.0, 13.0, 600.0);
  cam2.PhotoPath = L"2.jpg";
  std::wstring error;
  auto stations = KVUtilities::ComputeExposureStationsFromSystemEvents({cam1, cam2}, 0.05, error);
  ASSERT_EQ(stations.size(), 1u);
  EXPECT_EQ(std::tuple(stations[0].Latitude, stations[0].Longitude, stations[0].Altitude),
            std::tuple(48.5, 12.0, 550.0));
  EXPECT_TRUE(SameInstant(stations[0].SystemTimeUTC, Calendar(2023, 12, 22, 12, 0, 0, 10)));
  EXPECT_EQ(stations[0].Cam1Event.Latitude, 48.0);
  EXPECT_EQ(stations[0].Cam2Event.PhotoPath, L"2.jpg");

  stations = KVUtilities::ComputeExposureStationsFromSystemEvents({cam2}, 0.05, error);
  ASSERT_EQ(stations.size(), 1u);
  EXPECT_EQ(std::tuple(stations[0].Latitude, stations[0].Longitude, stations[0].Altitude),
            std::tuple(49.0, 13.0, 600.0));
  EXPECT_EQ(stations[0].Cam2Event.PhotoPath, L"2.jpg");
  const tagKVSystemEvent& placeholder = stations[0].Cam1Event;
  EXPECT_EQ(std::tuple(placeholder.Type, placeholder.CameraID, placeholder.Latitude), std::tuple(0, -1, 0.0));
  EXPECT_TRUE(placeholder.PhotoPath.IsEmpty() && placeholder.POSQuality == L"NONE");
  EXPECT_EQ(kv::Ticks(placeholder.TimeUTC), kNoon + 200'000);
  EXPECT_TRUE(SameInstant(placeholder.SystemTimeUTC, Calendar(2023, 12, 22, 12, 0, 0, 20)));

  EXPECT_TRUE(KVUtilities::ComputeExposureStationsFromSystemEvents({}, 1, error).empty());
  EXPECT_EQ(error, L"Compute Exposure Stations Failed:  System Events are empty.");
}

TEST(ExposureStations, EqualTheLiteralRule) {
  std::mt19937_64 random(20231222);
  const auto below = [&random](std::uint64_t limit) { return random() % limit; };
  // Times near each other, and decades to ten thousand years away, where several differences are one double.
  constexpr std::uint64_t kFar[] = {0, 1ull << 52, 1ull << 53, 6ull << 52, 1ull << 60, 1ull << 62};
  constexpr double kTolerances[] = {0.0, -0.0, -1e-6, 1e-6, 5e-6, 1.0, 1e8, 1e300, kNaN, HUGE_VAL};
  for (int round = 0; round < TestSize(20'000, 1'000'000); ++round) {
    const std::uint64_t spread = 1 + below(below(2) ? 8 : 300), farKinds = 1 + below(std::size(kFar));
    Events events;
    for (std::uint64_t n = 1 + below(below(4) ? 12 : 60); n > 0; --n) {
      const std::uint64_t ticks = kFar[below(farKinds)] + below(spread);
      events.push_back(Exposure(static_cast<std::int32_t>(below(3)), ticks, below(8) ? 2 : 1));
    }
    events = Numbered(std::move(events));
    const double tolerance = kTolerances[below(std::size(kTolerances))];
    ASSERT_EQ(Stations(events, tolerance), baseline::StationsOf(events, tolerance)) << round;
  }
}

// Searching them all for each would take minutes.
TEST(ExposureStations, ManyEventsInAnyOrderStayFast) {
  constexpr std::size_t kPairs = 100'000;
  Events events;
  for (std::size_t i = 0; i < kPairs; ++i) {
    for (const std::int32_t camera : {1, 2}) {
      events.push_back(Exposure(camera, kNoon + i * 20'000'000 + static_cast<std::uint64_t>(camera) * 1000));
    }
  }
  std::shuffle(events.begin(), events.end(), std::mt19937_64(7));
  std::wstring error;
  EXPECT_EQ(KVUtilities::ComputeExposureStationsFromSystemEvents(events, 0.05, error).size(), kPairs);
  EXPECT_EQ(KVUtilities::ComputeExposureStationsFromSystemEvents(events, 0.0, error).size(), 2 * kPairs);
}

}  // namespace
