#include <gtest/gtest.h>

#include "mission/inputs/MissionDate.h"
#include "mission/inputs/NmeaLog.h"
#include "readers/NmeaSentence.h"
#include "support/TempFolder.h"

namespace kv::mission {
namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;

// The sentence with checksum 47 is the example that receivers' manuals share.
TEST(Nmea, TellsFixesFromOtherLines) {
  struct {
    const char* line;
    LineKind kind;
  } const rows[] = {
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47", LineKind::Fix},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47 \r", LineKind::Fix},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*48", LineKind::BadChecksum},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*4", LineKind::BadChecksum},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47$GPGGA", LineKind::BadChecksum},
      {"$BDGGA,123519.45,9000.00,S,18000.000,W,8,08,+0.9,-5.4,M,-46.9", LineKind::Fix},
      {"$GPGGA,,,,,,0,,,,M,,M,,*66", LineKind::NoFix},
      {"$GPGGA,123519,4807.038,N,01131.000,E,0,00,,545.4,M,46.9,M,,", LineKind::NoFix},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,,545.4,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4", LineKind::Incomplete},
      {"$GPGGA,240000,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123560,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4860.000,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,9000.001,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807.,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807.038,E,01131.000,N,1,08,0.9,545.4,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,nan,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,1e999,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,1e308,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,1e-320,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,1e-400,M,46.9,M,,", LineKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,-0.0e5,M,46.9,M,,", LineKind::Fix},
      {"$GPGGA,123519,4807.0380000000000000,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", LineKind::Incomplete},
      {"$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A", LineKind::OtherSentence},
      {"!AIVDM,1,1,,A,14eG;o@034o8sd<L9i:a;WF>062D,0*7D", LineKind::OtherSentence},
      {"# GPS: Hemisphere", LineKind::NotASentence},
      {"$", LineKind::NotASentence},
      {"$gpgga,123519", LineKind::NotASentence},
      {" \r", LineKind::Blank},
  };
  Sentence sentence;
  for (const auto& [line, kind] : rows) EXPECT_EQ(Classify(line, sentence), kind) << line;
}

TEST(Nmea, ReadsTimesOfDayToTheHundredth) {
  struct {
    const char* text;
    int hundredths;  // -1: no time
    bool truncated;
  } const rows[] = {
      {"000000", 0, false},
      {"123519", 4531900, false},
      {"123519.5", 4531950, false},
      {"123519.05", 4531905, false},
      {"235959.999", 8639999, true},
      {"123519.9900", 4531999, false},
      {"12351", -1, false},
      {"123519,5", -1, false},
      {"123519.4x", -1, false},
      {"126019", -1, false},
      {"", -1, false},
  };
  for (const auto& [text, hundredths, truncated] : rows) {
    const auto clock = ParseClock(text);
    ASSERT_EQ(clock.has_value(), hundredths >= 0) << text;
    if (!clock) continue;
    EXPECT_EQ(clock->time.count(), hundredths) << text;
    EXPECT_EQ(clock->truncated, truncated) << text;
  }
}

TEST(Nmea, ReadsDatedSentences) {
  struct {
    const char* line;
    const char* time;  // empty: none
  } const rows[] = {
      {"$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A", "1994-03-23T12:35:19.000Z"},
      {"$GNRMC,003956.00,A,4552.65403,S,17030.00668,E,0.025,,120419,,,A,V*07", "2019-04-12T00:39:56.000Z"},
      {"$GPZDA,193913.00,07,09,2018,00,00*63", "2018-09-07T19:39:13.000Z"},
      {"$GPRMC,123519,V,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W", ""},
      {"$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,310494,003.1,W", ""},
      {"$GPZDA,193913.00,,,,00,00", ""},
  };
  Sentence sentence;
  for (const auto& [line, time] : rows) {
    ASSERT_EQ(Classify(line, sentence), LineKind::OtherSentence) << line;
    const auto read = DatedTime(sentence);
    EXPECT_EQ(read ? IsoText(*read) : "", time) << line;
  }
}

TEST(Nmea, CopiesFixesAndCountsTheRest) {
  const TempFolder folder;
  folder.Write("log",
               "$GPZDA,235949.00,01,05,2024,00,00\r\n"
               "$GPGGA,235949,4807.038,N,01131.000,E,0,,,,M,,M,,\r\n"
               "\r\n"
               "$GNGGA,235950.5,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,,\r\n"
               "$GPGGA,235950.501,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,,\r\n" +
                   std::string(1'000'000, '$') + "\n" +
                   "$GNRMC,000001.00,A,4807.038,N,01131.000,E,0.0,,020524,,,A\r\n"
                   "$GNRMC,000002.00,A,4807.038,N,01131.000,E,0.0,,090524,,,A\r\n"
                   "\x80\xFF\n"
                   "$GNGGA,000001.123,4807.038,S,01131.000,W,5,08,0.9,-5.4,M,46.9,M,,");
  const NmeaLog log = CopyFixes(folder.Path() / "log", folder.Path() / "copy", Log(Verbosity::Quiet));
  EXPECT_EQ(folder.Read("copy-0"), "$GNGGA,235950.50,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9\n");
  EXPECT_EQ(folder.Read("copy-1"), "$GNGGA,000001.12,4807.038,S,01131.000,W,5,08,0.9,-5.4,M,46.9\n");
  EXPECT_EQ(log.counts.lines, 10u);
  EXPECT_EQ(LeftOutText(log.counts),
            "1 without a fix, 1 of a repeated time, 3 other sentences (RMC 2, ZDA 1), 2 that are no sentence, 1 blank");
  EXPECT_EQ(log.counts.qualities, (std::map<int, std::size_t>{{4, 1}, {5, 1}}));
  EXPECT_EQ(log.counts.truncatedTimes, 1u);
  // The sentence right after the first fix dates the log, not the earlier or a later one.
  ASSERT_TRUE(log.dated && log.firstFix);
  EXPECT_EQ(IsoText(*log.dated), "2024-05-02T00:00:01.000Z");
  EXPECT_EQ(DateText(DateNearest(*log.dated, *log.firstFix)), "2024-05-01");
}

TEST(MissionDate, IsTheFirstFixesOwnAndBelievesTheUserFirst) {
  constexpr sys_days kMay1 = std::chrono::year{2024} / 5 / 1;
  constexpr auto kLate = Hundredths{8'639'000};  // 23:59:50
  struct {
    const char* what;
    DateSources sources;
    Hundredths firstFix;
    const char* date;  // empty: none
    std::size_t warnings;
  } const rows[] = {
      {"heartbeat of the next day", {{}, kMay1 + 5s, {}}, kLate, "2024-04-30", 0},
      {"heartbeat of the day before", {{}, kMay1 - 5s, {}}, Hundredths{500}, "2024-05-01", 0},
      {"sentence at noon, fix at midnight", {{}, {}, kMay1 + 11h}, Hundredths{0}, "2024-05-01", 0},
      {"the user's date is the first fix's", {kMay1, kMay1 + 24h + 5s, {}}, kLate, "2024-05-01", 0},
      {"the user contradicts", {kMay1, kMay1 + 48h, kMay1 + 48h}, Hundredths{0}, "2024-05-01", 2},
      {"heartbeat before sentence", {{}, kMay1 + 1s, kMay1 + 240h}, Hundredths{0}, "2024-05-01", 1},
      {"nothing", {}, kLate, "", 0},
  };
  for (const auto& [what, sources, firstFix, date, warnings] : rows) {
    Log log(Verbosity::Quiet);
    const auto chosen = ChooseDate(sources, firstFix, log);
    EXPECT_EQ(chosen ? DateText(chosen->date) : "", date) << what;
    EXPECT_EQ(log.Warnings().size(), warnings) << what;
  }
}

}  // namespace
}  // namespace kv::mission
