#include "mission/inputs/Trajectories.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

#include "mission/Settings.h"
#include "mission/inputs/Inputs.h"
#include "support/TempFolder.h"
#include "support/TestJob.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using std::chrono::sys_days;

constexpr sys_days kMay2 = std::chrono::year{2024} / 5 / 2;  // a Thursday, GPS week 2312

struct Sbet {
  double seconds, latitude = 48.25, longitude = 15.5, heading = 10, wander = 0;
};

std::string Bytes(const std::vector<Sbet>& records) {
  constexpr double kRadian = std::numbers::pi / 180;
  std::string bytes;
  for (const Sbet& of : records) {
    const double record[17] = {of.seconds,   of.latitude * kRadian, of.longitude * kRadian, 300, 1, 2, 0, 2 * kRadian,
                               -3 * kRadian, of.heading * kRadian,  of.wander * kRadian};
    bytes.append(reinterpret_cast<const char*>(record), sizeof record);
  }
  return bytes;
}

TEST(SbetFile, IsReadInEveryTimeScale) {
  // 345618 s of week 2312 are 2024-05-02 00:00:00 UTC.
  struct {
    std::vector<Sbet> records;
    std::optional<Date> date;
    std::vector<const char*> times;
    const char* failure;
  } const rows[] = {
      {{{345618}, {345618.25}}, kMay2, {"2024-05-02T00:00:00.000Z", "2024-05-02T00:00:00.250Z"}, ""},
      {{{604799.5}, {0.5}}, kMay2, {"2024-05-04T23:59:41.500Z", "2024-05-04T23:59:42.500Z"}, ""},  // the week ends
      {{{100}, {101}}, kMay2, {"2024-05-05T00:01:22.000Z", "2024-05-05T00:01:23.000Z"}, ""},
      {{{1398643218}, {1398643219}}, {}, {"2024-05-02T00:00:00.000Z", "2024-05-02T00:00:01.000Z"}, ""},
      {{{398643218}, {398643219}}, {}, {"2024-05-02T00:00:00.000Z", "2024-05-02T00:00:01.000Z"}, ""},
      {{{345618}, {345619}}, {}, {}, "--date"},
  };
  for (const auto& [records, date, times, failure] : rows) {
    const TempFolder folder;
    folder.Write("a", Bytes(records));
    EXPECT_EQ(KindOfContent(Bytes(records)), FileKind::Sbet) << records[0].seconds;
    TestJob job;
    Trajectory trajectory;
    const std::string said = FailureOf(
        [&] {
          trajectory = ReadAnyTrajectory(folder.Path() / "a", {date, {}, true}, 2, job);
        },
        Failure::Reason::Failed);
    EXPECT_TRUE(Contains(said, failure) && said.empty() == (*failure == '\0')) << said;
    ASSERT_EQ(trajectory.fixes.size(), times.size()) << records[0].seconds;
    for (std::size_t i = 0; i < times.size(); ++i)
      EXPECT_EQ(IsoText(FromFileTime(trajectory.fixes[i].TimeUTC)), times[i]);
  }
}

TEST(SbetFile, GivesAttitudesAndRefusesWhatIsDamaged) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  const TempFolder folder;
  folder.Write("a", Bytes({{345618, 48.25, 15.5, 1, 3}, {345619, 95}, {345620, 48.25, kNan}, {345621}}));
  TestJob job;
  const Trajectory trajectory = ReadAnyTrajectory(folder.Path() / "a", {kMay2, {}, true}, 60, job);
  ASSERT_EQ(trajectory.fixes.size(), 2u);
  EXPECT_NEAR(trajectory.fixes[0].Latitude, 48.25, 1e-12);
  EXPECT_NEAR(trajectory.fixes[0].Longitude, 15.5, 1e-12);
  EXPECT_NEAR(trajectory.attitudes.at(0).roll, 2, 1e-9);
  EXPECT_NEAR(trajectory.attitudes.at(0).pitch, -3, 1e-9);
  EXPECT_NEAR(trajectory.attitudes.at(0).heading, 358, 1e-9);  // through north
  ExpectParts(job.Warnings(), {"2 rows"}, "");
  folder.Write("b", Bytes({{345618}, {345619}}).substr(0, 271));
  const auto read = [&] { ReadAnyTrajectory(folder.Path() / "b", {kMay2, {}, true}, 60, job); };
  EXPECT_TRUE(Contains(FailureOf(read, Failure::Reason::Failed), "271 bytes are not a whole number of SBET records"));
}

/// A drive of 200 s around bends at 10 m/s, one fix per second.
Trajectory Drive(double shift, double up, double east, float sigma) {
  Trajectory trajectory;
  trajectory.file = "drive";
  for (int i = 0; i < 200; ++i) {
    const double at = i + shift;
    tagKVTrajectoryObs& fix = trajectory.fixes.emplace_back();
    fix.AdjGpsSec = i;
    fix.Latitude = 48.25 + at * 9e-5, fix.Longitude = 15.5 + std::sin(at / 20) * 2e-3 + east / 74'000;
    fix.Altitude = 300 + up;
    trajectory.qualities.push_back({PositionQuality::Fixed, 10, 0, sigma, sigma});
  }
  return trajectory;
}

TEST(Trajectories, DifferencesNameTheirCause) {
  struct {
    double shift, up, east;
    float sigma;
    const char* said;  // empty for no doubt
  } const rows[] = {
      {0, 0, 0.3, 0.02f, ""},  // two antennas
      {0, 0, 2, 0.02f, "the cause is not the time"},
      {0, 0, 2, 1.0f, ""},
      {0, 0, 5, FixQuality::kUnknown, ""},
      {18, 0, 0, 0.02f, "moved by +18.00 s"},
      {-1.5, 0, 0, 0.02f, "moved by -1.50 s"},
      {0, 45, 0, 0.02f, "nearly constant +45.00 m"},
      {18, -45, 0, FixQuality::kUnknown, "moved by +18.00 s"},
  };
  for (const auto& [shift, up, east, sigma, said] : rows) {
    TestJob job;
    const auto found = CompareTrajectories(Drive(0, 0, 0, sigma), Drive(shift, up, east, sigma), job);
    EXPECT_NEAR(found.shiftSeconds.value_or(99), shift, 0.002 + east / 200) << said;  // an offset looks like a little
    EXPECT_NEAR(found.vertical->median, std::abs(up), 0.01) << said;
    EXPECT_NEAR(found.horizontal->largest, shift == 0 ? east : found.horizontal->largest, 0.03) << said;
    const auto warnings = job.Warnings();
    EXPECT_EQ(warnings.size(), *said == '\0' ? 0u : 1u) << shift << said;
    for (const auto& text : warnings) EXPECT_TRUE(Contains(text, said)) << text;
  }
}

TEST(Trajectories, OneThatHardlyMovesTellsNoShift) {
  Trajectory still = Drive(0, 0, 0, 0.02f), beside = still;
  for (auto* trajectory : {&still, &beside}) {
    for (auto& fix : trajectory->fixes) fix.Latitude = 48.25, fix.Longitude = 15.5;
  }
  for (auto& fix : beside.fixes) fix.Latitude += fix.AdjGpsSec * 1e-9;
  TestJob job;
  const auto found = CompareTrajectories(still, beside, job);
  EXPECT_EQ(found.compared, 200u);
  EXPECT_FALSE(found.shiftSeconds);
  for (auto& fix : beside.fixes) fix.AdjGpsSec += 1000;
  EXPECT_FALSE(CompareTrajectories(still, beside, job).horizontal) << "no time in common";
}

TEST(Trajectories, ThePostProcessedOneGivesThePlaces) {
  const TempFolder folder;
  const std::string fix = ",4815.000,N,01530.000,E,1,08,0.9,260.0,M,40.0,M,,\n";
  folder.Write("rover", "$GPZDA,000000,02,05,2024,00,00\n$GPGGA,000000" + fix + "$GPGGA,000002" + fix);
  folder.Write("a.pos",
               "% UTC latitude(deg) longitude(deg) height(m) Q\n2024/05/02 00:00:00 48.25 15.5 300 1\n"
               "2024/05/02 00:00:02 48.25 15.5 300 1\n");
  Settings settings;
  Set(settings, "trajectory", (folder.Path() / "rover").string());
  Set(settings, "trajectory", (folder.Path() / "a.pos").string());
  EXPECT_NE(FailureOf([&] { Set(settings, "trajectory", "c"); }, Failure::Reason::WrongUsage), "");
  TestJob job;
  std::optional<TrajectoryComparison> comparison;
  const Trajectory trajectory = ReadTrajectories(settings, {}, comparison, job);
  EXPECT_EQ(comparison->other, folder.Path() / "rover");
  EXPECT_STREQ(trajectory.kind, "POS file");
  EXPECT_EQ(trajectory.file, folder.Path() / "a.pos");
  EXPECT_EQ(IsoText(trajectory.last), "2024-05-02T00:00:02.000Z");
  EXPECT_EQ(job.Warnings(), std::vector<std::string>());
}

}  // namespace
}  // namespace kv::mission
