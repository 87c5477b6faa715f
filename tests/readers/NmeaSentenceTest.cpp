#include "readers/NmeaSentence.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <random>

#include "support/TestSize.h"

namespace kv::mission {
namespace {

using namespace std::string_view_literals;

// The sentence with checksum 47 is the example that receivers' manuals share.
TEST(NmeaSentence, TellsFixesFromOtherLines) {
  struct {
    std::string_view line;
    SentenceKind kind;
  } const rows[] = {
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47", SentenceKind::Fix},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47 \r", SentenceKind::Fix},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*48", SentenceKind::BadChecksum},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*4", SentenceKind::BadChecksum},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47$GPGGA", SentenceKind::Fix},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47 \r\xB5\x62\0*$x,"sv, SentenceKind::Fix},
      {"12:35:19 rx> $GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47", SentenceKind::Fix},
      {"\xB5\x62\0$AB*\x01$$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47"sv, SentenceKind::Fix},
      {"$GPGGA,1235$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*48", SentenceKind::BadChecksum},
      {"$GPGSA,A$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", SentenceKind::Fix},
      {"price in $, and more", SentenceKind::NotASentence},
      {"$BDGGA,123519.45,9000.00,S,18000.000,W,8,08,+0.9,-5.4,M,-46.9", SentenceKind::Fix},
      {"$GPGGA,,,,,,0,,,,M,,M,,*66", SentenceKind::NoFix},
      {"$GPGGA,123519,4807.038,N,01131.000,E,0,00,,545.4,M,46.9,M,,", SentenceKind::NoFix},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,,545.4,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4", SentenceKind::Incomplete},
      {"$GPGGA,240000,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123560,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4860.000,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,9000.001,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4807,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4807.,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4807.038,E,01131.000,N,1,08,0.9,545.4,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,nan,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,1e999,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,1e308,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,1e-320,M,,", SentenceKind::Incomplete},
      {"$GPGGA,123519,4807.0380000000000000,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,", SentenceKind::Incomplete},
      {"$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A", SentenceKind::OtherSentence},
      {"!AIVDM,1,1,,A,14eG;o@034o8sd<L9i:a;WF>062D,0*7D", SentenceKind::OtherSentence},
      {"# GPS: Hemisphere", SentenceKind::NotASentence},
      {"$", SentenceKind::NotASentence},
      {"$gpgga,123519", SentenceKind::NotASentence},
      {" \r", SentenceKind::Blank},
  };
  Sentence sentence;
  for (const auto& [line, kind] : rows) EXPECT_EQ(Classify(line, sentence), kind) << line;
}

/// The field that keeps a position sentence from being a fix; heights in metres when it is one.
TEST(NmeaSentence, NamesWhatIsMissing) {
  struct {
    const char* rest;  // of a sentence, after the longitude
    const char* lacks;
    double height, separation;
  } const rows[] = {
      {"E,1,08,0.9,545.4,M,46.9,M,,", "", 545.4, 46.9},
      {"E,1,08,0.9,1000,F,46.9,M,,", "", 304.8, 46.9},
      {"E,1,08,0.9,1000,ft,-100", "", 304.8, -30.48},
      {"E,1,08,0.9,545.4,M,100,FT,,", "", 545.4, 30.48},
      {"E,1,08,0.9,545.4,K,46.9,K,,", "known unit of height", 0, 0},
      {"E,1,08,0.9,545.4,M,46.9,X,,", "known unit of height", 0, 0},
      {"E,1,08,0.9,545.4,,46.9,M,,", "known unit of height", 0, 0},
      {"E,1,08,0.9,545.4,M,,M,,", "geoid separation", 0, 0},
      {"E,1,08,0.9,,M,,M,,", "height", 0, 0},
      {"E,1,08,,545.4,M,46.9,M,,", "HDOP", 0, 0},
      {"E,1,,0.9,545.4,M,46.9,M,,", "number of satellites", 0, 0},
      {"E,x,08,0.9,545.4,M,46.9,M,,", "quality", 0, 0},
      {"X,1,08,0.9,545.4,M,46.9,M,,", "latitude or longitude", 0, 0},
  };
  Sentence sentence;
  for (const auto& [rest, lacks, height, separation] : rows) {
    const bool isFix =
        Classify(std::string("$GPGGA,123519,4807.038,N,01131.000,") + rest, sentence) == SentenceKind::Fix;
    EXPECT_EQ(isFix ? "" : sentence.lacks, std::string(lacks)) << rest;
    if (!isFix) continue;
    EXPECT_NEAR(sentence.fix.height, height, 1e-9) << rest;
    EXPECT_NEAR(sentence.fix.separation, separation, 1e-9) << rest;
  }
}

/// The sentence with its checksum.
std::string Summed(std::string line) {
  int sum = 0;
  for (const char c : std::string_view(line).substr(1)) sum ^= static_cast<unsigned char>(c);
  char text[4];
  std::snprintf(text, sizeof text, "*%02X", static_cast<unsigned>(sum));
  return line + text;
}

/// What earlier sentences left in it does not show.
TEST(NmeaSentence, ReadsASentenceAsIfItWereTheFirst) {
  const std::array starts{"$GPGGA,123519.10,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,0000"sv,
                          "$GPGGA,123519.20,4807.038,N,01131.000,E,4,08,0.9,545.4,F,46.9,F,,0000"sv,
                          "$GNRMC,003956.00,A,4552.65403,S,17030.00668,E,0.025,,120419,,,A,V"sv};
  constexpr std::string_view kReplacements = "0123456789.,*$MFNmf-+ \0"sv;
  std::mt19937 random(16);
  const auto any = [&](std::size_t count) { return random() % count; };
  constexpr std::size_t kFields = 13;
  const auto outcome = [](const std::string& line, Sentence& sentence) {
    const SentenceKind kind = Classify(line, sentence);
    std::string text = std::to_string(static_cast<int>(kind));
    if (kind == SentenceKind::Incomplete) text += sentence.lacks;
    if (kind == SentenceKind::Fix || kind == SentenceKind::OtherSentence)
      for (std::size_t i = 0; i < kFields; ++i) (text += '|') += sentence.fields[i];
    const FixNumbers& fix = sentence.fix;
    if (kind == SentenceKind::Fix)
      for (const double number : {double(fix.clock.time.count()), double(fix.clock.truncated), fix.latitude,
                                  fix.longitude, double(fix.quality), double(fix.satellites), fix.hdop, fix.height,
                                  fix.separation, double(fix.wasConverted)})
        (text += '|') += std::to_string(std::bit_cast<std::uint64_t>(number));
    return text;
  };
  Sentence used;
  for (int round = TestSize(50'000, 2'000'000); round > 0; --round) {
    std::string line(starts[any(starts.size())]);
    for (std::size_t edits = any(3); edits > 0; --edits)
      line[any(line.size())] = kReplacements[any(kReplacements.size())];
    if (any(8) == 0) line.resize(any(line.size()));
    if (any(8) == 0) line += std::string(any(100), ',') + "$*"[any(2)];
    const bool isPlain = line.size() > 1 && line[0] == '$' && line.find_first_of("$*\0 "sv, 1) == line.npos;
    if (isPlain && any(4) > 0) line = Summed(line);
    Sentence fresh;
    const std::string read = outcome(line, used);
    ASSERT_EQ(read, outcome(line, fresh)) << line;
    if (!isPlain || read.find('|') == read.npos) continue;
    const std::string body = line.substr(1, line.find('*') - 1);
    for (std::size_t i = 0, begin = 0; i < kFields; ++i) {
      const std::size_t end = std::min(body.find(',', begin), body.size());
      ASSERT_EQ(used.fields[i], begin <= body.size() ? body.substr(begin, end - begin) : "") << line << " " << i;
      begin = end + 1;
    }
  }
}

TEST(NmeaSentence, ReadsTimesOfDayToTheHundredth) {
  struct {
    std::string_view text;
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
      {std::string_view("\0\0\0\0\0\0", 6), -1, false},
  };
  for (const auto& [text, hundredths, truncated] : rows) {
    const auto clock = ParseClock(text);
    ASSERT_EQ(clock.has_value(), hundredths >= 0) << text;
    if (!clock) continue;
    EXPECT_EQ(clock->time.count(), hundredths) << text;
    EXPECT_EQ(clock->truncated, truncated) << text;
  }
}

TEST(NmeaSentence, ReadsDatedSentences) {
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
    ASSERT_EQ(Classify(line, sentence), SentenceKind::OtherSentence) << line;
    const auto read = DatedTime(sentence);
    EXPECT_EQ(read ? IsoText(*read) : "", time) << line;
  }
}

}  // namespace
}  // namespace kv::mission
