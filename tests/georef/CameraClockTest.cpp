#include "georef/clocks/CameraClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "ClockCases.h"

namespace {

using kv::ClockVerdict;

/// A mission made up, with its truth.
struct Mission {
  std::vector<double> events, stamps;
  std::vector<int> eventOf;  // per photo, -1 for none
};

/// The same numbers on every machine.
class Chance {
 public:
  explicit Chance(unsigned seed) : engine_(seed) {}
  double Between(double low, double high) { return low + (high - low) * static_cast<double>(engine_()) / 4294967296.0; }

 private:
  std::mt19937 engine_;
};

/// Strips of a dozen or more photos, about two seconds apart, with turns between them.
std::vector<double> Strips(int count, unsigned seed) {
  Chance chance(seed);
  std::vector<double> events{1000.25};
  while (static_cast<int>(events.size()) < count) {
    for (int left = static_cast<int>(chance.Between(12, 30)); left > 0; --left) {
      events.push_back(events.back() + chance.Between(1.8, 2.3));
    }
    events.push_back(events.back() + chance.Between(5, 20));
  }
  events.resize(static_cast<std::size_t>(count));
  return events;
}

std::vector<double> Regular(int count, double interval) {
  std::vector<double> events;
  for (int i = 0; i < count; ++i) events.push_back(1000.25 + interval * i);
  return events;
}

struct Faults {
  double lost = 0, extra = 0;  // shares
  int testShots = 0;           // before the first event
  int resetAt = 0;             // the photo from which the clock is set anew
  double resetBy = 0;          // seconds
  double drift = 15e-6;
};

Mission Take(const std::vector<double>& events, double offset, kv::StampCell cell, const Faults& faults = {}) {
  constexpr double kJitter = 0.002;
  Chance chance(7);
  Mission mission{events, {}, {}};
  const auto take = [&](double time, int event) {
    const bool isReset = faults.resetAt > 0 && static_cast<int>(mission.stamps.size()) >= faults.resetAt;
    const double camera = time + offset + faults.drift * (time - events.front()) + chance.Between(-kJitter, kJitter) +
                          (isReset ? faults.resetBy : 0);
    mission.stamps.push_back(std::floor((camera - cell.begin) / cell.width) * cell.width);
    mission.eventOf.push_back(event);
  };
  for (int shot = faults.testShots; shot > 0; --shot) take(events.front() - 30 - 1.7 * shot, -1);
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (chance.Between(0, 1) < faults.lost) continue;
    take(events[i], static_cast<int>(i));
    if (chance.Between(0, 1) < faults.extra) take(events[i] + 0.7, -1);
  }
  return mission;
}

struct Score {
  int right = 0, wrong = 0, wronglyWithout = 0;
};

Score ScoreOf(const kv::ClockEstimate& estimate, const std::vector<int>& truth) {
  Score score;
  for (std::size_t k = 0; k < truth.size(); ++k) {
    const kv::PhotoMatch& match = estimate.photos[k];
    if (match.certain) ++(match.event == static_cast<std::size_t>(truth[k]) ? score.right : score.wrong);
    if (estimate.withoutEvent[k] && truth[k] >= 0) ++score.wronglyWithout;
  }
  return score;
}

void ExpectRight(const kv::ClockEstimate& estimate, const Mission& mission, double share) {
  const Score score = ScoreOf(estimate, mission.eventOf);
  EXPECT_EQ(score.wrong, 0);
  EXPECT_EQ(score.wronglyWithout, 0);
  const auto true_ = std::ranges::count_if(mission.eventOf, [](int event) { return event >= 0; });
  EXPECT_GE(score.right, share * static_cast<double>(true_));
}

TEST(CameraClock, AnyOffsetIsFound) {
  for (const double offset :
       {0.0, 0.3, 1.0, -2.0, 3.0, 5.0, 10.0, 18.0, 37.0, 60.0, 74.0, 148.0, 3600.0, -7200.0, 86400.0, 1.7e9}) {
    for (const auto& [cell, error] : {std::pair(kv::kWholeSeconds, 0.05), std::pair(kv::kThousandths, 0.001)}) {
      SCOPED_TRACE(testing::Message() << offset << " s, cell " << cell.width);
      const Mission mission = Take(Strips(150, 3), offset, cell);
      const auto estimate = kv::EstimateClock(mission.events, mission.stamps, kv::StampCellOf(mission.stamps));
      EXPECT_EQ(estimate.verdict, ClockVerdict::Resolved);
      ExpectRight(estimate, mission, 0.98);
      ASSERT_EQ(estimate.clocks.size(), 1u);
      const auto& clock = estimate.clocks[0];
      const double atStart = clock.offsetSeconds + clock.drift * (mission.events.front() - clock.referenceTime);
      EXPECT_NEAR(atStart, offset, error);
    }
  }
}

TEST(CameraClock, FaultsAreSeenThrough) {
  const struct {
    const char* what;
    Faults faults;
    std::size_t clocks;
  } rows[] = {
      {"lost photos", {.lost = 0.05}, 1},
      {"photos without trigger", {.extra = 0.03}, 1},
      {"test shots", {.testShots = 20}, 1},
      {"all of them", {.lost = 0.05, .extra = 0.03, .testShots = 20}, 1},
      {"set back by an hour", {.lost = 0.02, .resetAt = 80, .resetBy = -3600.4}, 2},
      {"set forward by a day", {.resetAt = 90, .resetBy = 86400.3}, 2},
  };
  for (const auto& row : rows) {
    for (const kv::StampCell cell : {kv::kWholeSeconds, kv::kHundredths}) {
      SCOPED_TRACE(testing::Message() << row.what << ", cell " << cell.width);
      const Mission mission = Take(Strips(180, 5), -37.2, cell, row.faults);
      const auto estimate = kv::EstimateClock(mission.events, mission.stamps, cell);
      EXPECT_EQ(estimate.verdict, ClockVerdict::Resolved);
      EXPECT_EQ(estimate.clocks.size(), row.clocks);
      ExpectRight(estimate, mission, 0.9);
    }
  }
}

TEST(CameraClock, WhatCannotBeKnownIsNotSaid) {
  const Mission foreign = Take(Strips(120, 11), 5, kv::kThousandths);
  const struct {
    const char* what;
    Mission mission;
    ClockVerdict verdict;
  } rows[] = {
      {"regular, whole seconds", Take(Regular(120, 2), 0.4, kv::kWholeSeconds), ClockVerdict::Ambiguous},
      {"regular, milliseconds", Take(Regular(120, 1), 0.4, kv::kThousandths), ClockVerdict::Ambiguous},
      {"regular with lost photos", Take(Regular(120, 1), 9, kv::kThousandths, {.lost = 0.05}), ClockVerdict::Ambiguous},
      {"photos of another mission", {Strips(150, 12), foreign.stamps, {}}, ClockVerdict::NoMatch},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const auto& [events, stamps, truth] = row.mission;
    const auto estimate = kv::EstimateClock(events, stamps, kv::StampCellOf(stamps));
    EXPECT_EQ(estimate.verdict, row.verdict);
    for (const auto& match : estimate.photos) EXPECT_FALSE(match.certain);
  }
}

// A day with 50 ppm: the clock is more than two seconds off at either end.
TEST(CameraClock, ALongMissionDrifts) {
  std::vector<double> events = Strips(3000, 9);
  for (double& event : events) event *= 12;
  for (const kv::StampCell cell : {kv::kWholeSeconds, kv::kThousandths}) {
    SCOPED_TRACE(testing::Message() << "cell " << cell.width);
    const Mission mission = Take(events, -3600, cell, {.lost = 0.03, .extra = 0.02, .drift = -50e-6});
    const auto estimate = kv::EstimateClock(mission.events, mission.stamps, cell);
    EXPECT_EQ(estimate.verdict, ClockVerdict::Resolved);
    ExpectRight(estimate, mission, 0.9);
    EXPECT_NEAR(estimate.clocks.at(0).drift, -50e-6, 1e-6);
  }
}

// Numbers of photos that were lost after the exposure say where events have no photo.
TEST(CameraClock, MissingNumbersTellOfLostPhotos) {
  const Mission all = Take(Strips(40, 5), 5, kv::kWholeSeconds);
  Mission mission{all.events, {}, {}};
  std::vector<std::int64_t> numbers;
  for (std::size_t k = 0; k < all.stamps.size(); ++k) {
    if (k % 3 == 1) continue;
    mission.stamps.push_back(all.stamps[k]);
    mission.eventOf.push_back(all.eventOf[k]);
    numbers.push_back(static_cast<std::int64_t>(9000 + k));
  }
  const auto without = kv::EstimateClock(mission.events, mission.stamps, kv::kWholeSeconds);
  const auto with = kv::EstimateClock(mission.events, mission.stamps, kv::kWholeSeconds,
                                      {.window = std::nullopt, .photoNumbers = numbers});
  EXPECT_EQ(ScoreOf(without, mission.eventOf).wrong, 0);
  EXPECT_GT(ScoreOf(with, mission.eventOf).right, ScoreOf(without, mission.eventOf).right);
  ExpectRight(with, mission, 0.9);
}

// What a regular mission leaves open is settled by a window, such as the other camera's clock.
TEST(CameraClock, AWindowSettlesRegularTriggering) {
  const Mission mission = Take(Regular(120, 2), 0.4, kv::kThousandths, {.lost = 0.05});
  const auto estimate = kv::EstimateClock(mission.events, mission.stamps, kv::kThousandths,
                                          {.window = kv::OffsetWindow{0, 0.9}, .photoNumbers = {}});
  EXPECT_EQ(estimate.verdict, ClockVerdict::Resolved);
  ExpectRight(estimate, mission, 0.9);
}

TEST(CameraClock, AnOffsetInUseIsCheckedAndPairedBy) {
  const struct {
    const char* what;
    std::vector<double> events;
    kv::StampCell cell;
    double offset;  // true; the one in use is 0
    bool isAllowed;
  } rows[] = {
      {"good", Strips(150, 3), kv::kWholeSeconds, 0.0, true},
      {"good, fine stamps", Strips(150, 3), kv::kThousandths, 0.2, true},
      {"37 s off", Strips(150, 3), kv::kWholeSeconds, 37.0, false},
      {"2 s off, about an interval", Strips(150, 3), kv::kThousandths, 2.0, false},
      {"regular", Regular(100, 2), kv::kWholeSeconds, 0.0, true},
      {"regular, an interval off", Regular(100, 2), kv::kThousandths, 2.0, true},
      {"regular, half an interval off", Regular(100, 3), kv::kThousandths, 1.5, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const Mission mission = Take(row.events, row.offset, row.cell);
    const auto estimate = kv::EstimateClock(mission.events, mission.stamps, row.cell);
    const auto check = kv::CheckOffset(estimate, mission.events, mission.stamps, row.cell, 0, 0.5);
    EXPECT_EQ(check.isAllowed, row.isAllowed) << check.scoreDifference;
    if (estimate.verdict == ClockVerdict::Resolved) {
      EXPECT_EQ(check.photosMoved > 0, !row.isAllowed);
    }
    const auto matches = kv::PairByClock(mission.events, mission.stamps, row.cell, row.offset + 0.1, 0.5);
    for (std::size_t k = 0; k < matches.size(); ++k) {
      ASSERT_TRUE(matches[k].event) << k;
      EXPECT_EQ(*matches[k].event, static_cast<std::size_t>(mission.eventOf[k])) << k;
      EXPECT_TRUE(matches[k].certain) << k << ": " << matches[k].probability;
    }
  }
}

TEST(CameraClock, PairsByAKnownClockAreOneToOne) {
  const std::vector<double> events{100.4, 102.4, 104.4, 104.9, 130.4};
  const std::vector<double> stamps{100, 102, 104, 104, 117, 130};
  const std::vector<std::optional<std::size_t>> expected{0, 1, 2, 3, std::nullopt, 4};
  const auto matches = kv::PairByClock(events, stamps, kv::kWholeSeconds, 0, 0.3);
  for (std::size_t k = 0; k < stamps.size(); ++k) EXPECT_EQ(matches[k].event, expected[k]) << k;
}

TEST(CameraClock, DegenerateInputsSayNothing) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  const std::vector<double> good = Strips(40, 2);
  std::vector<double> years, broken = good, backwards(good.rbegin(), good.rend());
  for (int i = 0; i < 300; ++i) years.push_back(1e6 * i * (1 + 0.1 * std::sin(i)));
  broken[3] = nan;
  broken[7] = infinity;
  broken[9] = -1e300;
  const std::vector<double> all[] = {{},
                                     {5},
                                     {5, 6},
                                     std::vector<double>(500, 5.0),
                                     std::vector<double>(60, nan),
                                     {nan, infinity, -infinity, 1e308, -1e308},
                                     {0, 1e11, -1e11, 5, 7},
                                     years};
  const auto expectNothing = [](const std::vector<double>& events, const std::vector<double>& stamps) {
    const auto estimate = kv::EstimateClock(events, stamps, kv::StampCellOf(stamps));
    ASSERT_EQ(estimate.photos.size(), stamps.size());
    for (const auto& match : estimate.photos) EXPECT_FALSE(match.certain);
    EXPECT_EQ(kv::PairByClock(events, stamps, kv::StampCellOf(stamps), 0, 1).size(), stamps.size());
  };
  for (const auto& odd : all) {
    SCOPED_TRACE(testing::Message() << odd.size() << " times");
    expectNothing(odd, good);
    expectNothing(good, odd);
  }
  // Odd times among good ones are left out; the order of events does not matter.
  const auto estimate = kv::EstimateClock(backwards, broken, kv::kHundredths);
  EXPECT_EQ(estimate.photos[20].event, 19u);
  EXPECT_FALSE(estimate.photos[3].event || estimate.photos[7].event || estimate.photos[9].event);
}

// Does the true clock put the event into the stamp's cell? Then nobody can say that the pair is wrong.
bool IsPossible(const clock_cases::Case& item, std::size_t photo, std::size_t event) {
  const auto& clock = item.clock;
  const kv::StampCell cell = kv::StampCellOf(item.stamps);
  const auto& reset = clock.at("reset_at_photo");
  const bool isReset = !reset.is_null() && photo >= reset.get<std::size_t>();
  const double time = item.events[event];
  const double lead = time + clock.at(isReset ? "offset_after_reset" : "offset").get<double>() +
                      clock.at("drift").get<double>() * (time - clock.at("t_mid").get<double>()) - item.stamps[photo] -
                      cell.begin;
  const double tolerance = 4 * clock.at("stamp_jitter").get<double>() + (cell.width == 1 ? 0.06 : 0.004);
  return lead >= -tolerance && lead < cell.width + tolerance;
}

// Sanitizers are slow: there every third case.
#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t kStep = 3, kLeastResolved = 50;
#else
constexpr std::size_t kStep = 1, kLeastResolved = 170;
#endif

TEST(CameraClock, SharedCasesAreAnsweredRight) {
  if (!std::filesystem::exists(CLOCK_CASES)) GTEST_SKIP() << "no shared cases";
  std::size_t resolved = 0;
  const auto cases = clock_cases::Read(CLOCK_CASES);
  for (std::size_t j = 0; j < cases.size(); j += kStep) {
    const auto& item = cases[j];
    SCOPED_TRACE(item.id);
    const auto estimate = clock_cases::Answer(item);
    int certain = 0;
    for (std::size_t k = 0; k < item.truth.size(); ++k) {
      const auto& [event, probability, isCertain] = estimate.photos[k];
      certain += isCertain;
      EXPECT_TRUE(!isCertain || item.truth[k] == static_cast<int>(*event) || IsPossible(item, k, *event)) << k;
      EXPECT_TRUE(!estimate.withoutEvent[k] || item.truth[k] == -1) << k;
    }
    EXPECT_TRUE(!item.mustNotResolve || certain == 0);
    resolved += estimate.verdict == ClockVerdict::Resolved || estimate.verdict == ClockVerdict::Partial;
  }
  EXPECT_GE(resolved, kLeastResolved);
}

}  // namespace
