#include <gtest/gtest.h>

#include "georef/FixQualities.h"
#include "mission/Steps.h"
#include "support/TestJob.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using enum PositionQuality;

constexpr Instant kNoon{std::chrono::sys_days{std::chrono::year{2024} / 5 / 1} + std::chrono::hours{12}};

Exposure ExposureAt(double second) {
  Exposure exposure;
  exposure.time = kNoon + std::chrono::round<KVMission::Ticks>(std::chrono::duration<double>(second));
  exposure.event.AdjGpsSec = second;
  exposure.event.Latitude = 48;
  return exposure;
}

TEST(PlaceQualities, AreThoseOfTheFixesBesideAPhoto) {
  const float nan = FixQuality::kUnknown;
  Mission mission;
  Trajectory trajectory;
  const FixQuality qualities[] = {{Fixed, 9, 1, 0.01f, 0.02f},
                                  {Fixed, 9, 1, 0.03f, nan},
                                  {Float, 9, 1, 0.2f, 0.4f},
                                  {None, 9, 1, nan, nan},
                                  {Single, 9, 1, nan, nan}};
  for (const auto& quality : qualities) {
    tagKVTrajectoryObs& fix = trajectory.fixes.emplace_back();
    fix.AdjGpsSec = static_cast<double>(trajectory.qualities.size());
    trajectory.qualities.push_back(quality);
  }
  struct {
    double second;
    const wchar_t* word;
    double horizontal, vertical;  // 0: unknown
  } const rows[] = {
      {-1, L"NONE", 0, 0},     {0, L"FIXED", 0.01, 0.02}, {0.5, L"FIXED", 0.03, 0}, {1, L"FIXED", 0.03, 0},
      {1.5, L"MIXED", 0.2, 0}, {2, L"FLOAT", 0.2, 0.4},   {2.5, L"NONE", 0, 0},     {3.5, L"NONE", 0, 0},
      {4, L"SINGLE", 0, 0},    {5, L"NONE", 0, 0},
  };
  for (const auto& row : rows) mission.exposures.push_back(ExposureAt(row.second));
  mission.exposures.push_back(ExposureAt(0));
  mission.exposures.back().drop = Drop{DropCode::NoPhoto};  // not in the layer, so not counted
  TestJob job;
  TrajectoryIndex index(trajectory.fixes);
  QualifyExposures(trajectory, index, mission, job);
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const Exposure& exposure = mission.exposures[i];
    const auto orZero = [](float sigma) { return sigma == sigma ? sigma : 0; };
    EXPECT_EQ(exposure.event.POSQuality, rows[i].word) << rows[i].second;
    EXPECT_NEAR(orZero(exposure.quality.horizontalSigma), rows[i].horizontal, 1e-6) << rows[i].second;
    EXPECT_NEAR(orZero(exposure.quality.verticalSigma), rows[i].vertical, 1e-6) << rows[i].second;
  }
  const PlaceQuality& places = mission.placeQuality;
  EXPECT_EQ(places.photos, (std::array<std::size_t, kPositionQualities>{4, 1, 0, 1, 3, 0, 0, 1}));
  EXPECT_EQ(places.horizontal.known, 5u);
  EXPECT_EQ(places.horizontal.least, 0.01);
  EXPECT_EQ(places.horizontal.largest, 0.2);
  EXPECT_EQ(places.vertical.known, 2u);
}

TEST(PlaceQualities, TellWhereRtkWasLost) {
  struct Photo {
    double second;
    PositionQuality quality;
  };
  struct {
    const char* what;
    std::vector<Photo> photos;
    std::vector<const char*> warnings;
  } const rows[] = {
      {"never lost", {{0, Fixed}, {1, Fixed}}, {}},
      {"never had", {{0, Single}, {1, Float}}, {}},
      {"unknown", {{0, Fixed}, {1, None}}, {}},
      {"lost once, in any order",
       {{0, Fixed}, {61, Single}, {60, Mixed}, {62, Single}, {63, Fixed}},
       {"RTK was lost from 2024-05-01 12:01:00.000 to 2024-05-01 12:01:02.000: 3 photos of quality SINGLE, MIXED"}},
      {"seconds apart",
       {{0, Fixed}, {60, Float}, {65, Fixed}, {70, Float}},
       {"12:01:10.000: 2 photos of quality FLOAT"}},
      {"a minute apart", {{0, Float}, {30, Fixed}, {60, Float}}, {"12:00:00.000: 1 photo", "12:01:00.000: 1 photo"}},
      {"often",
       {{0, Float},
        {20, Float},
        {40, Float},
        {60, Float},
        {80, Float},
        {100, Float},
        {101, Float},
        {120, Float},
        {140, Fixed}},
       {"1 photo", "1 photo", "1 photo", "1 photo", "1 photo", "RTK was lost in 2 more stretches, with 3 photos"}},
  };
  for (const auto& [what, photos, warnings] : rows) {
    Mission mission;
    mission.timestamps.emplace();
    for (const auto& [second, quality] : photos) {
      mission.exposures.push_back(ExposureAt(second));
      mission.timestamps->qualities.push_back({quality});
    }
    TestJob job;
    TrajectoryIndex index({});
    QualifyExposures({}, index, mission, job);
    ExpectParts(job.Warnings(), warnings, what);
  }
}

}  // namespace
}  // namespace kv::mission
