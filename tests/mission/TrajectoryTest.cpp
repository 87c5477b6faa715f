#include "mission/inputs/Trajectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "mission/inputs/LeftOut.h"
#include "support/TempFolder.h"
#include "support/TestJob.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;

constexpr sys_days kMay1 = std::chrono::year{2024} / 5 / 1;

std::string Fix(const std::string& time, const std::string& longitude = "01131.000,E") {
  return "$GPGGA," + time + ",4807.038,N," + longitude + ",1,08,0.9,545.4,M,46.9,M,,\n";
}

Trajectory Read(const std::string& content, const DateSources& dates, Job& job) {
  const TempFolder folder;
  folder.Write("log", content);
  return ReadTrajectoryFile(folder.Path() / "log", dates, 2.0, job);
}

TEST(Trajectory, TakesFixesAndCountsTheRest) {
  TestJob job;
  const Trajectory trajectory = Read(
      "$GPZDA,235949.00,01,05,2024,00,00\r\n"
      "$GPGGA,235949,4807.038,N,01131.000,E,0,,,,M,,M,,\r\n"
      "\r\n"
      "$GNGGA,235950.5,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,,\r\n"
      "$GPGGA,235950.501,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,,\r\n" +
          std::string(1'000'000, '$') + "\n" +
          "$GNRMC,000001.00,A,4807.038,N,01131.000,E,0.0,,020524,,,A\r\n"
          "$GNRMC,000002.00,A,4807.038,N,01131.000,E,0.0,,090524,,,A\r\n"
          "\x80\xFF\n"
          "$GNGGA,000001.123,4807.038,S,01131.000,W,5,70000,0.9,1000,ft,46.9,M,,",
      {}, job);
  struct {
    const char* time;
    double latitude, longitude, altitude, separation;
    const wchar_t* unit;
    PositionQuality quality;
    int satellites;
  } const rows[] = {
      {"2024-05-01T23:59:50.500Z", 48 + 7.038 / 60, 11 + 31 / 60.0, 592.3, 46.9, L"M", PositionQuality::Fixed, 8},
      // Milliseconds go no finer than the hundredths of the format; a count stays within 16 bits.
      {"2024-05-02T00:00:01.120Z", -48 - 7.038 / 60, -11 - 31 / 60.0, 351.7, 46.9, L"M", PositionQuality::Float, 65535},
  };
  ASSERT_EQ(trajectory.fixes.size(), std::size(rows));
  ASSERT_EQ(trajectory.qualities.size(), std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const auto& fix = trajectory.fixes[i];
    EXPECT_EQ(IsoText(FromFileTime(fix.TimeUTC)), rows[i].time);
    EXPECT_NEAR(fix.Latitude, rows[i].latitude, 1e-12);
    EXPECT_NEAR(fix.Longitude, rows[i].longitude, 1e-12);
    EXPECT_NEAR(fix.Altitude, rows[i].altitude, 1e-12);
    EXPECT_EQ(fix.GeoidOffst, rows[i].separation);
    EXPECT_EQ(fix.AltUnit, rows[i].unit);
    EXPECT_EQ(trajectory.qualities[i].quality, rows[i].quality);
    EXPECT_EQ(trajectory.qualities[i].satellites, rows[i].satellites);
    EXPECT_EQ(trajectory.qualities[i].hdop, 0.9f);
  }
  const SentenceCounts& counts = trajectory.counts;
  EXPECT_EQ(counts.lines, 10u);
  EXPECT_EQ(LeftOutText(counts),
            "1 sentence without a fix, 1 fix with the time of the fix before, 3 other sentences (RMC 2, ZDA 1), "
            "2 lines that are not NMEA sentences, 1 blank line");
  EXPECT_EQ(counts.qualities, (std::map<int, std::size_t>{{4, 1}, {5, 1}}));
  EXPECT_EQ(counts.truncatedTimes, 1u);
  // The sentence right after the first fix dates the log, not the earlier or a later one.
  EXPECT_EQ(DateText(trajectory.date.value()), "2024-05-01");
  ExpectParts(job.Warnings(),
              {"1 line longer than 64 KiB cut off there: line 6",
               "1 sentence dates the trajectory otherwise than most of the same stretch, first 2024-05-09 "
               "instead of 2024-05-02"},
              "");
}

TEST(Trajectory, IsDatedOnItsFirstFixAndBelievesTheUserFirst) {
  const std::string may1 = "$GPZDA,000000.00,01,05,2024,00,00\n";
  const std::string may3 = "$GPZDA,000000.00,03,05,2024,00,00\n", may11 = "$GPZDA,000000.00,11,05,2024,00,00\n";
  struct {
    const char* what;
    DateSources sources;
    std::string log;
    const char *date, *source;  // empty: none
    std::vector<const char*> warnings;
  } const rows[] = {
      {"heartbeat of the next day", {{}, kMay1 + 5s}, Fix("235950"), "2024-04-30", "heartbeat", {}},
      {"heartbeat of the day before", {{}, kMay1 - 5s}, Fix("000005"), "2024-05-01", "heartbeat", {}},
      {"sentence at 11, fix at midnight",
       {},
       "$GPZDA,110000.00,01,05,2024,00,00\n" + Fix("000000"),
       "2024-05-01",
       "sentence",
       {}},
      {"the user's date is the first fix's", {kMay1, kMay1 + 24h + 5s}, Fix("235950"), "2024-05-01", "option", {}},
      {"the user contradicts",
       {kMay1, kMay1 + 48h},
       may3 + Fix("000000"),
       "2024-05-01",
       "option",
       {"2024-05-01 (option), but the heartbeat says 2024-05-03", "but the sentence says 2024-05-03"}},
      {"heartbeat before sentence",
       {{}, kMay1 + 1s},
       may11 + Fix("000000"),
       "2024-05-01",
       "heartbeat",
       {"2024-05-01 (heartbeat), but the sentence says 2024-05-11"}},
      {"sentence with a fix before heartbeat",
       {{}, kMay1 + 1s},
       Fix("000000") + may11,
       "2024-05-11",
       "sentence",
       {"2024-05-11 (sentence), but the heartbeat says 2024-05-01"}},
      {"heartbeat late in a long log",
       {{}, kMay1 + 20h},
       Fix("000000") + may1 + Fix("200000"),
       "2024-05-01",
       "sentence",
       {}},
      {"nothing, only described", {{}, {}, false}, Fix("235950"), "", "", {}},
  };
  for (const auto& [what, sources, log, date, source, warnings] : rows) {
    TestJob job;
    const Trajectory trajectory = Read(log, sources, job);
    EXPECT_EQ(trajectory.date ? DateText(*trajectory.date) : "", date) << what;
    EXPECT_STREQ(trajectory.dateSource, source) << what;
    ExpectParts(job.Warnings(), warnings, what);
  }
}

TEST(Trajectory, IsRefusedWithoutAFixOrADate) {
  const std::pair<std::string, const char*> rows[] = {
      {"", "log: no usable fix in 0 lines"},
      {"$GPGGA,,,,,,0,,,,M,,M,,\n", "log: no usable fix in 1 line: 1 sentence without a fix"},
      {Fix("120000"), "log: nothing tells the date of the fixes; give it with --date YYYY-MM-DD"},
  };
  for (const auto& [log, part] : rows) {
    TestJob job;
    const std::string failure = FailureOf([&] { Read(log, {}, job); }, Failure::Reason::Failed);
    EXPECT_TRUE(failure.ends_with(part)) << failure;
  }
}

/// What a log's peculiarity makes the engine say; nothing else is said.
TEST(Trajectory, IsLookedThroughForWhatASurveyorShouldSee) {
  std::string pauses;
  const std::string simulated = "$GPGGA,120000,4807.038,N,01131.000,E,8,08,0.9,545.4,M,46.9,M,,\n";
  const std::string estimated = "$GPGGA,120001,4807.038,N,01131.000,E,6,08,0.9,545.4,M,46.9,M,,\n";
  for (const char* time : {"120000", "120003", "120006", "120009", "120012", "120015", "120018", "120021"})
    pauses += Fix(time);
  struct {
    std::string log;
    std::vector<const char*> warnings;
  } const rows[] = {
      {Fix("120000") + Fix("120002"), {}},
      {Fix("120000") + Fix("120002.01"),
       {"trajectory: gap of 2.0 s from 2024-05-01 12:00:00.000 at 48.1173000, 11.5166667"}},
      {pauses,
       {"from 2024-05-01 12:00:00.000", "from 2024-05-01 12:00:03.000", "from 2024-05-01 12:00:06.000",
        "from 2024-05-01 12:00:09.000", "from 2024-05-01 12:00:12.000", "trajectory: 2 more gaps"}},
      {Fix("235959.99") + Fix("000000"), {}},
      {Fix("120100") + Fix("120000") + Fix("120001"),
       {"trajectory: the time runs back 1 time: pieces out of order, or a gap of more than 12 hours over midnight"}},
      {Fix("120000", "17959.999,E") + Fix("120001", "17959.999,W"),
       {"trajectory: crosses the 180th meridian: the line there runs around the globe"}},
      {Fix("120000") + Fix("120002") + Fix("120001") + Fix("120003") + Fix("120001"),
       {"trajectory: 1 fix out of order by up to 1.00 s: put in order of time"}},
      {Fix("120000") + Fix("120010") + Fix("120000.5"),
       {"trajectory: gap of 9.5 s", "trajectory: 1 fix out of order by up to 9.50 s"}},
      {simulated + estimated, {"1 fix of quality 8: written by a simulator", "1 fix of quality 6 or 7: estimated"}},
      {Fix("120000") + "$GPGGA,120001,4807.038,N,01131.000,E,1,08,0.9,545.4,M,,M,,\n",
       {"1 position sentence left out, without a valid geoid separation"}},
      {Fix("120000.125") + Fix("120000.250"), {"1 fix time finer than a hundredth of a second: cut to hundredths"}},
  };
  for (const auto& [text, warnings] : rows) {
    TestJob job;
    TellOfTrajectory(Read(text, {kMay1, {}}, job), kReceiverWords, job);
    ExpectParts(job.Warnings(), warnings, text);
  }
}

/// The day of each fix, whatever the way over midnight: in sequence, in an outage, one receiver behind the other.
TEST(Trajectory, CountsEveryMidnightOnce) {
  struct {
    std::vector<const char*> times;
    std::vector<int> days;  // of the month
  } const rows[] = {
      {{"235959.99", "000000", "120000", "235959", "000000"}, {1, 2, 2, 2, 3}},
      {{"225959", "010000", "130000", "003000"}, {1, 2, 2, 3}},
      {{"235959.90", "000000", "235959.95", "000000.10", "000000.05", "120000", "235959", "000000"},
       {1, 1, 2, 2, 2, 2, 2, 3}},
      {{"000000", "235959.90", "000000.10"}, {30, 1, 1}},
      {{"060000", "190000", "170000"}, {1, 1, 1}},
  };
  for (const auto& [times, days] : rows) {
    std::string text;
    for (const char* time : times) text += Fix(time);
    TestJob job;
    std::vector<int> read;
    for (const auto& fix : Read(text, {kMay1, {}}, job).fixes) read.push_back(fix.SystemTimeUTC.wDay);
    EXPECT_EQ(read, days) << text;
  }
}

/// In a log each letter is a sentence: a fix "F" or a dated sentence "D", at a time and, the latter, on a day of May 2024.
std::string LogOf(const std::string& items) {
  std::string log;
  std::istringstream words(items);
  for (std::string word; words >> word;) {
    const std::string time = word.substr(1, 6);
    log += word[0] == 'F' ? Fix(time)
                          : "$GNRMC," + time + ",A,4807.038,N,01131.000,E,0.0,," + word.substr(8) + "0524,,,A\n";
  }
  return log;
}

TEST(Trajectory, FollowsTheDatesOfItsSentences) {
  const char* const disagree = "otherwise than most of the same stretch";
  struct {
    const char *what, *log;
    std::vector<int> days;  // of May 2024
    std::vector<const char*> warnings;
  } const rows[] = {
      {"one day", "F120000 D120000/03 F120001 D120001/03", {3, 3}, {}},
      {"the first date follows a midnight", "F100000 F160000 F235959 F000001 D000001/04", {3, 3, 3, 4}, {}},
      {"a log appended, dated behind its fixes",
       "F120000 D120000/03 F120001 D120001/03 F083000 F083001 D083001/09 F083002",
       {3, 3, 9, 9, 9},
       {}},
      {"a log appended, dated before its fixes",
       "D120000/03 F120000 D120001/03 F120001 D083000/09 F083000",
       {3, 3, 9},
       {}},
      {"days without a fix", "F120000 D120000/03 F130000 D130000/06 F130001 D130001/06", {3, 6, 6}, {}},
      {"a wrong date in between", "F120000 D120000/03 F120001 D120001/09 F120002 D120002/03", {3, 3, 3}, {disagree}},
      {"a receiver learns the date", "F120000 D120000/03 F120001 D120001/09 F120002 D120002/09", {9, 9, 9}, {disagree}},
      {"two pauses between two dates",
       "F120000 D120000/03 F130000 F140000 D140000/09",
       {3, 9, 9},
       {"of 1 fix is uncertain"}},
      {"before the first fix only the last counts, if no other", "D110000/01 D120000/03 F120001", {3}, {}},
  };
  for (const auto& [what, log, days, warnings] : rows) {
    TestJob job;
    std::vector<int> read;
    for (const auto& fix : Read(LogOf(log), {}, job).fixes) read.push_back(fix.SystemTimeUTC.wDay);
    EXPECT_EQ(read, days) << what;
    ExpectParts(job.Warnings(), warnings, what);
  }
}

/// GST sentences before and after the fix of their time, with errors whose mean square is a square; the middle fix has none.
TEST(Trajectory, TakesStandardDeviations) {
  TestJob job;
  const Trajectory trajectory = Read("$GPGST,120000.00,9,,,,0.01,0.07,0.07\n" + Fix("120000") + Fix("120001") +
                                         "$GPGST,120002.00,9,,,,0.3,0.4,x\n" + Fix("120002") + Fix("120003") +
                                         "$GPGST,120003.00,9,,,,0.1,0.7,0.7\n",
                                     {kMay1, {}}, job);
  const std::pair<float, float> rows[] = {{0.05f, 0.07f}, {0, 0}, {0, 0}, {0.5f, 0.7f}};  // 0: unknown
  ASSERT_EQ(trajectory.qualities.size(), std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const FixQuality& quality = trajectory.qualities[i];
    const auto orZero = [](float sigma) { return std::isnan(sigma) ? 0 : sigma; };
    EXPECT_FLOAT_EQ(orZero(quality.horizontalSigma), rows[i].first) << i;
    EXPECT_FLOAT_EQ(orZero(quality.verticalSigma), rows[i].second) << i;
  }
}

}  // namespace
}  // namespace kv::mission
