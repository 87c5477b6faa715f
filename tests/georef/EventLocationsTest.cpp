#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

#include "KVUtilities.h"
#include "baseline/Locations.h"
#include "support/TestSize.h"
#include "time/FileTimes.h"

namespace {

using baseline::Place, baseline::Trajectory;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

FILETIME TenthsAsFileTime(double seconds) {
  return kv::FileTimeFromTicks(static_cast<std::uint64_t>(std::llround(seconds * 10)) * 1'000'000);
}

tagKVTrajectoryObs Observed(double seconds, double latitude, double longitude, double altitude) {
  return {{}, seconds, {}, latitude, longitude, altitude, 0, {}};
}

template <typename Event>
std::vector<Event> EventsAt(const std::vector<double>& times) {
  std::vector<Event> events(times.size());
  for (std::size_t i = 0; i < times.size(); ++i) events[i].AdjGpsSec = times[i];
  return events;
}

std::array<std::uint64_t, 3> Bits(double latitude, double longitude, double altitude) {
  // NaN equals NaN here, and 0.0 differs from -0.0.
  const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(std::isnan(value) ? kNaN : value); };
  return {bits(latitude), bits(longitude), bits(altitude)};
}
std::array<std::uint64_t, 3> Bits(const Place& place) { return Bits(place[0], place[1], place[2]); }
template <typename Event>
std::array<std::uint64_t, 3> Bits(const Event& event) {
  return Bits(event.Latitude, event.Longitude, event.Altitude);
}

TEST(EventLocations, TheFirstPairThatBracketsTheTimeDecides) {
  struct {
    const char* what;
    std::vector<double> times;  // observation i has latitude and longitude i + 1
    double time, latitude;
  } const rows[] = {{"between", {100, 110}, 105, 1.5},
                    {"first time", {100, 110}, 100, 1},
                    {"last time", {100, 110}, 110, 2},
                    {"before", {100, 110}, 99.9, 0},
                    {"after", {100, 110}, 110.1, 0},
                    {"no observation", {}, 100, 0},
                    {"one observation", {100}, 100, 0},
                    {"a descending pair brackets nothing", {110, 100}, 105, 0},
                    {"repeated time, on purpose unguarded", {100, 100, 110}, 100, kNaN},
                    {"repeated later: reached by the pair before", {100, 110, 110, 120}, 110, 2},
                    {"a jump back: the earlier pair", {100, 110, 104, 120}, 105, 1.5},
                    {"a jump back: only the later pair", {100, 110, 50, 60}, 55, 3.5},
                    {"more than 2^63 ticks", {922337203680, 922337203690}, 922337203688, 1.8}};
  for (const auto& [what, times, time, latitude] : rows) {
    Trajectory trajectory;
    for (const double t : times) {
      const double number = 1.0 + static_cast<double>(trajectory.size());
      trajectory.push_back(Observed(t, number, number, 10));
      trajectory.back().TimeUTC = TenthsAsFileTime(t);
    }
    const Place expected = {latitude, latitude, latitude == 0 ? 0 : 10 + 0 * latitude};  // NaN in every part
    Place place;
    std::wstring error = L"left over";
    KVUtilities::ComputeLocationFromAdjGpsSeconds(time, trajectory, place[0], place[1], place[2], error);
    EXPECT_EQ(Bits(place), Bits(expected)) << what;
    KVUtilities::ComputeLocationFromUTCTime(TenthsAsFileTime(time), trajectory, place[0], place[1], place[2], error);
    EXPECT_EQ(Bits(place), Bits(expected)) << what;
    EXPECT_EQ(error, L"");
  }
}

TEST(EventLocations, AnUnplacedLogEventBorrowsFromLaterThenFromEarlierEvents) {
  Trajectory trajectory = {Observed(100, 1, 2, 100), Observed(110, 3, 4, 110), Observed(200, 0, 0, 200),
                           Observed(210, 0, 0, 210)};
  struct {
    const char* what;
    std::vector<double> times, altitudes;  // the altitude tells whose place it is
  } const rows[] = {
      {"from the last", {0, 0, 0, 105}, {105, 105, 105, 105}},
      {"event 0 lends to none, on purpose", {105, 0, 0, 0}, {105, 0, 0, 0}},
      {"later before earlier", {0, 101, 0, 103, 0}, {101, 101, 103, 103, 103}},
      {"latitude and longitude 0: unplaced; the altitude tried last stays", {204, 202, 206}, {206, 202, 202}},
      {"no event", {}, {}}};
  for (const auto& [what, times, altitudes] : rows) {
    auto events = EventsAt<tagKVLogEvent>(times);
    std::wstring error = L"left over";
    EXPECT_TRUE(KVUtilities::PopulateLogEventLocationsUsingTrajectory(events, trajectory, error));
    EXPECT_EQ(error, L"");
    for (std::size_t i = 0; i < events.size(); ++i) EXPECT_EQ(events[i].Altitude, altitudes[i]) << what << i;
  }
}

TEST(EventLocations, BatchesEqualTheLiteralRuleBitForBit) {
  std::mt19937 random(20231222);
  const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  const double odd[] = {kNaN, kInfinity, -kInfinity, -0.0}, degrees[] = {0.0, 0.0, -0.0, 5.0, -7.3};
  for (int round = 0; round < TestSize(20'000, 1'000'000); ++round) {
    SCOPED_TRACE(round);
    Trajectory trajectory;
    double seconds = 0;
    for (int n = below(below(4) ? 8 : 60); n > 0; --n) {  // climbs, repeats, jumps
      seconds = below(4) ? seconds + below(3) : below(16);
      trajectory.push_back(
          Observed(below(30) ? seconds : odd[below(4)], degrees[below(5)], degrees[below(5)], 0.1 * n));
    }
    std::vector<double> times;
    for (int n = below(9); n > 0; --n) times.push_back(below(20) ? below(80) / 2.0 - 4 : odd[below(4)]);
    auto systemEvents = EventsAt<tagKVSystemEvent>(times);
    auto logEvents = EventsAt<tagKVLogEvent>(times);
    std::wstring error;
    KVUtilities::PopulateSystemEventLocationsUsingTrajectory(systemEvents, trajectory, error);
    KVUtilities::PopulateLogEventLocationsUsingTrajectory(logEvents, trajectory, error);
    for (std::size_t i = 0; i < times.size(); ++i) {
      ASSERT_EQ(Bits(systemEvents[i]), Bits(baseline::PlaceAt(times[i], trajectory))) << i;
      ASSERT_EQ(Bits(logEvents[i]), Bits(baseline::LogPlaceAt(i, times, trajectory))) << i;
    }
  }
}

// Pair k spans the times -k to k: every pair falls back to before the last one. Walking them all would take a minute.
TEST(EventLocations, ManyOverlappingRunsStayFast) {
  Trajectory trajectory;
  std::vector<double> times;
  for (int k = 1; k <= 200'000; ++k) {
    for (const double t : {-k, k}) trajectory.push_back(Observed(t, k, 0, 0));
    times.push_back(k % 2 ? k - 0.5 : 0.5 - k);
  }
  auto events = EventsAt<tagKVSystemEvent>(times);
  std::wstring error;
  EXPECT_TRUE(KVUtilities::PopulateSystemEventLocationsUsingTrajectory(events, trajectory, error));
  for (std::size_t i = 0; i < events.size(); ++i) ASSERT_EQ(events[i].Latitude, static_cast<double>(i + 1));
}

}  // namespace
