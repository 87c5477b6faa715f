#include "georef/Attitudes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "georef/LocalOffset.h"

namespace kv::mission {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(Attitudes, AreInterpolatedOverTheShorterArcButNotInGaps) {
  const AttitudeSeries series({{3, {0, 0, 1e300}},  // not an angle
                               {1.5, {kNan, 0, 0}},
                               {kNan, {0, 0, 0}},
                               {2, {-178, 4, 10}},
                               {1, {178, 2, 350}},
                               {2, {0, 0, 0}},  // not used: an earlier one has its time
                               {10, {1, 2, -90}},
                               {12, {1, 2, 90}},
                               {14.5, {0, 0, 360}}},
                              2);
  struct {
    double second;
    std::optional<Attitude> attitude;
  } const rows[] = {
      {0.999, {}},
      {1, Attitude{178, 2, 350}},
      {1.25, Attitude{179, 2.5, 355}},
      {1.5, Attitude{180, 3, 0}},
      {1.75, Attitude{-179, 3.5, 5}},
      {2, Attitude{-178, 4, 10}},
      {2.001, {}},
      {9.999, {}},
      {10.5, Attitude{1, 2, 315}},
      {12.1, {}},
      {14.5, Attitude{0, 0, 0}},
      {14.6, {}},
      {kNan, {}},
  };
  for (const auto& [second, wanted] : rows) {
    const auto found = series.At(second);
    ASSERT_EQ(found.has_value(), wanted.has_value()) << second;
    if (!found) continue;
    EXPECT_NEAR(std::remainder(found->roll - wanted->roll, 360), 0, 1e-9) << second;
    EXPECT_NEAR(found->pitch, wanted->pitch, 1e-9) << second;
    EXPECT_NEAR(found->heading, wanted->heading, 1e-9) << second;
    EXPECT_TRUE(found->heading >= 0 && found->heading < 360) << second;
  }
  EXPECT_FALSE(AttitudeSeries({}, 2).At(0));
}

/// By hand: what each axis of the sensor becomes after a quarter turn.
TEST(Attitudes, TurnLeverArms) {
  struct {
    Attitude attitude;
    LeverArm arm;
    double north, east, down;
  } const rows[] = {
      {{0, 0, 0}, {1, 2, 3}, 1, 2, 3},     {{0, 0, 90}, {1, 2, 3}, -2, 1, 3},  // to the east
      {{0, 90, 0}, {1, 2, 3}, 3, 2, -1},                                       // nose up
      {{90, 0, 0}, {1, 2, 3}, 1, -3, 2},                                       // right side down
      {{90, 90, 0}, {1, 2, 3}, 2, -3, -1},                                     // roll, then pitch
      {{0, 0, 450}, {0, 0, 3}, 0, 0, 3},
  };
  for (const auto& row : rows) {
    const AntennaOffset turned = Turned(row.arm, row.attitude);
    EXPECT_NEAR(turned.north, row.north, 1e-12);
    EXPECT_NEAR(turned.east, row.east, 1e-12);
    EXPECT_NEAR(turned.down, row.down, 1e-12);
  }
}

/// Ten fixes a second, across the 180th meridian: 2 m/s on a course, a pause of 5 s, then standing still.
TEST(Attitudes, TakeTheHeadingFromTheTrack) {
  for (const double course : {0.0, 45.0, 90.0, 200.0, 359.0}) {
    Trajectory trajectory;
    const Radii radii = RadiiAt(48);
    for (int i = 0; i < 41; ++i) {
      tagKVTrajectoryObs& fix = trajectory.fixes.emplace_back();
      fix.AdjGpsSec = i < 21 ? i * 0.1 : 5 + i * 0.1;
      const double metres = 0.2 * std::min(i, 21) - 2;
      fix.Latitude = 48 + metres * std::cos(course * kRadian) / radii.meridian / kRadian;
      fix.Longitude = std::remainder(180 + metres * std::sin(course * kRadian) / radii.parallel / kRadian, 360);
    }
    TrajectoryIndex index(trajectory.fixes);
    const auto headingAt = [&](double second) { return HeadingOfTrack(second, index, trajectory, 2); };
    for (const double second : {0.0, 0.05, 1.0, 1.99, 2.0}) {
      ASSERT_TRUE(headingAt(second)) << second;
      EXPECT_NEAR(std::remainder(*headingAt(second) - course, 360), 0, 0.01) << second;
      EXPECT_TRUE(*headingAt(second) >= 0 && *headingAt(second) < 360);
    }
    for (const double second : {-0.1, 2.5, 8.0, 9.0, 9.1, kNan}) EXPECT_FALSE(headingAt(second)) << second;
  }
}

}  // namespace
}  // namespace kv::mission
