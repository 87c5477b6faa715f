#include <algorithm>
#include <cmath>

#include "SimulatedFiles.h"

namespace {

using namespace simulated;

/// The lines of a mission's log, from the last "$" of each on.
Words Sentences(const TempFolder& folder) {
  Words sentences = Lines(folder.Read("mission/trajectory.nmea"));
  for (std::string& line : sentences) line.erase(0, line.rfind('$'));
  return sentences;
}

Words LogOf(const TempFolder& folder, const std::string& options) {
  EXPECT_EQ(Simulate(folder, "--minutes 3 --no-photos --overwrite " + options), 0) << options;
  return Sentences(folder);
}

bool IsFix(const std::string& sentence) { return sentence.find("GGA,") == 3; }
bool IsDated(const std::string& sentence) { return sentence.find("RMC,") == 3; }
double TimeOfDay(const std::string& sentence) { return Number(Split(sentence, ',')[1]); }

/// Fixes of the stretch have the quality and an error of its size; every other line is that of the good mission.
TEST(Trouble, CorrectionsAreLostInTheStretchOnly) {
  const struct {
    const char *quality, *flag, *mode;
    double metres;  // largest error
  } rows[] = {{"", "1", "A", 2.0}, {",single", "1", "A", 2.0}, {",dgps", "2", "D", 0.5}, {",float", "5", "F", 0.1}};
  const TempFolder folder;
  const Words good = LogOf(folder, "");
  for (const auto& [quality, flag, mode, metres] : rows) {
    const Words lost = LogOf(folder, std::string("--rtk-lost 50,90.5") + quality);
    ASSERT_EQ(lost.size(), good.size());
    double largest = 0.0;
    int fixes = 0;
    for (std::size_t i = 0; i < lost.size(); ++i) {
      const double time = IsFix(good[i]) || IsDated(good[i]) ? TimeOfDay(good[i]) : 0.0;
      if (time < 93050.0 || time >= 93130.5) {
        EXPECT_TRUE(lost[i] == good[i] || good[i].find("GSA,") == 3) << lost[i];
        continue;
      }
      const Words fields = Split(lost[i], ',');
      EXPECT_EQ(IsFix(lost[i]) ? fields[6] : fields[fields.size() - 2], IsFix(lost[i]) ? flag : mode) << lost[i];
      if (!IsFix(lost[i])) continue;
      largest = std::max(largest, Metres(FixOf(lost[i]), FixOf(good[i])));
      ++fixes;
    }
    EXPECT_EQ(fixes, 405);
    EXPECT_LT(largest, metres);
    EXPECT_GT(largest, 0.2 * metres) << quality;
  }
}

TEST(Trouble, ADronesFixesHaveTheFlagsAndDeviationsOfTheStretch) {
  const struct {
    const char *quality, *flag, *deviation;
  } rows[] = {{"float", "34,Q", "0.100000"}, {"dgps", "16,Q", "0.500000"}, {"single", "16,Q", "2.000000"}};
  for (const auto& [quality, flag, deviation] : rows) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--drone --no-faults --no-photos --rtk-lost 60,120,") + quality), 0);
    const auto truth = ReadTable(folder, "mission/truth.csv");
    const Words lines = Lines(folder.Read("mission/flight.MRK"));
    ASSERT_EQ(lines.size(), truth.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const std::string minute = truth[i].at("utc").substr(14, 2);
      const Words fields = Split(lines[i], '\t');
      EXPECT_EQ(fields.at(10), (minute == "31" ? flag : std::string("50,Q")) + "\r");
      EXPECT_EQ(fields.at(9).substr(0, 8), minute == "31" ? deviation : "0.005000");
      EXPECT_NEAR(Number(fields.at(8)), Number(truth[i].at("height")), Number(fields.at(9)) / std::sqrt(3.0) + 0.001);
    }
  }
}

/// What a reader has to do to a troubled log gives that of the good mission.
TEST(Trouble, LogsAreTheGoodOnesInDisorder) {
  const auto keep = [](const Words& lines, auto condition) {
    Words kept;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(kept), condition);
    return kept;
  };
  const TempFolder folder;
  const Words good = LogOf(folder, "");
  const std::string content = folder.Read("mission/trajectory.nmea");

  EXPECT_EQ(LogOf(folder, "--log-trouble binary"), good);
  EXPECT_GT(folder.Read("mission/trajectory.nmea").size(), content.size() + good.size());

  const Words mixed = LogOf(folder, "--log-trouble instrument,beside");
  EXPECT_EQ(keep(mixed, [](const std::string& s) { return s.find("WIMWV") != 1 && s.find("HEHDT") != 1; }), good);
  EXPECT_EQ(mixed.size(), good.size() + 2 * (181 - 4));  // each second, but not in the gap
  EXPECT_EQ(Lines(folder.Read("mission/instrument.nmea")).size(), 181u);

  Words shuffled = keep(LogOf(folder, "--log-trouble shuffled"), IsFix), fixes = keep(good, IsFix);
  const auto late = std::adjacent_find(shuffled.begin(), shuffled.end(),
                                       [](const auto& a, const auto& b) { return TimeOfDay(b) < TimeOfDay(a); });
  EXPECT_EQ(late - shuffled.begin(), 7);  // the seventh fix stands behind the ninth
  EXPECT_TRUE(std::is_permutation(shuffled.begin(), shuffled.end(), fixes.begin(), fixes.end()));

  const Words undated = keep(good, [](const std::string& s) { return !IsDated(s); });
  EXPECT_EQ(LogOf(folder, "--log-trouble undated"), undated);
  EXPECT_EQ(LogOf(folder, "--log-trouble half-dated"),
            keep(good, [](const std::string& s) { return !IsDated(s) || TimeOfDay(s) >= 93130.0; }));

  const Words appended = LogOf(folder, "--log-trouble appended");
  ASSERT_GT(appended.size(), good.size() + 600);
  EXPECT_EQ(Words(appended.end() - std::ptrdiff_t(good.size()), appended.end()), good);
  EXPECT_EQ(appended.at(1).substr(0, 17), "$GNRMC,103000.00,");
  EXPECT_NE(appended.at(1).find(",190525,"), std::string::npos) << appended.at(1);
}

}  // namespace
