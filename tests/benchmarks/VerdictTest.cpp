#include "Verdict.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(Verdict, QuartilesLieAtQuartersOfOneMoreThanTheValues) {
  struct {
    std::vector<double> values;
    double lower, median, upper;
  } const rows[] = {
      {{3, 1, 2}, 1, 2, 3},
      {{4, 1, 3, 2}, 1.25, 2.5, 3.75},
      {{10, 50, 20, 40, 30}, 15, 30, 45},
      {{7, 6, 5, 4, 3, 2, 1}, 2, 4, 6},
  };
  for (const auto& [values, lower, median, upper] : rows) {
    const auto quartiles = QuartilesOf(values);
    ASSERT_TRUE(quartiles);
    EXPECT_EQ(quartiles->lower, lower);
    EXPECT_EQ(quartiles->median, median);
    EXPECT_EQ(quartiles->upper, upper);
  }
}

TEST(Verdict, TheWorseQuartileDecides) {
  struct {
    const char* what;
    Goal goal;
    std::vector<double> ratios;
    Verdict verdict;
  } const rows[] = {
      {"all reach it", AtLeast(5), {5, 6, 7}, Verdict::Met},
      {"the median reaches it", AtLeast(5), {4.9, 6, 7}, Verdict::Noisy},
      {"the best reaches it", AtLeast(5), {3, 4, 5}, Verdict::Noisy},
      {"none reaches it", AtLeast(5), {3, 4, 4.9}, Verdict::NotMet},
      {"an outlier of seven", AtLeast(5), {1, 6, 6, 6, 6, 6, 6}, Verdict::Met},
      {"all stay below", AtMost(1.15), {1, 1.1, 1.15}, Verdict::Met},
      {"the median stays below", AtMost(1.15), {1, 1.1, 1.16}, Verdict::Noisy},
      {"none stays below", AtMost(1.15), {1.16, 1.2, 1.3}, Verdict::NotMet},
      {"two rounds", AtLeast(5), {6, 7}, Verdict::Noisy},
      {"no round", AtMost(5), {}, Verdict::Noisy},
      {"shown only", kNoGoal, {1, 2, 3}, Verdict::None},
  };
  for (const auto& [what, goal, ratios, verdict] : rows) EXPECT_EQ(Judge(QuartilesOf(ratios), goal), verdict) << what;
}

TEST(Verdict, ABudgetTurnsTheRatioRound) {
  EXPECT_EQ(AtLeast(2).RatioOf(6, 3), 2);
  EXPECT_EQ(AtMost(2).RatioOf(6, 3), 0.5);
}

}  // namespace
