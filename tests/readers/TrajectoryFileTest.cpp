#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "KVUtilities.h"
#include "baseline/TrajectoryReaders.h"
#include "readers/Fix.h"
#include "support/TempFolder.h"
#include "support/TestSize.h"
#include "support/ThrownText.h"
#include "support/Times.h"

namespace {

const std::string kFix = "$GPGGA,123519.45,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,\n";

std::vector<tagKVTrajectoryObs> Scan(std::string_view content, FILETIME date = UtcTime(2023, 12, 22)) {
  const TempFolder folder;
  std::wstring error = L"left over";
  const auto fixes = KVUtilities::ScanKVTrajectoryFile(folder.Write("t.txt", content), date, error);
  EXPECT_TRUE(error.empty());
  return fixes;
}

std::string FixAt(const std::string& timeOfDay) { return "$GPGGA," + timeOfDay + kFix.substr(kFix.find(",4807")); }

TEST(TrajectoryFile, AFixFillsItsRecord) {
  for (const char* end : {"\n", "\r\n", ""}) {
    const auto fixes = Scan(kFix.substr(0, kFix.size() - 1) + end);
    ASSERT_EQ(fixes.size(), 1u);
    const tagKVTrajectoryObs& fix = fixes[0];
    EXPECT_TRUE(SameInstant(fix.SystemTimeUTC, Calendar(2023, 12, 22, 12, 35, 19, 450)));
    EXPECT_EQ(fix.SystemTimeUTC.wDayOfWeek, 5);
    EXPECT_EQ(kv::Ticks(fix.TimeUTC), kv::Ticks(UtcTime(2023, 12, 22, 12, 35, 19, 450)));
    EXPECT_EQ(fix.AdjGpsSec, 387283737.45);  // GPS second 1,387,283,737.45, 18 of them leap seconds
    EXPECT_NEAR(fix.Latitude, 48.1173, 1e-12);
    EXPECT_NEAR(fix.Longitude, 11.5166666666667, 1e-12);
    EXPECT_DOUBLE_EQ(fix.Altitude, 592.3);
    EXPECT_EQ(fix.GeoidOffst, 46.9);
    EXPECT_TRUE(fix.AltUnit == L"M");
  }
  const auto southWest = Scan("X,0,4807.038,S,01131.000,W,1,08,0.9,545.4,ft,46.9\n");
  EXPECT_LT(southWest[0].Latitude, -48);
  EXPECT_LT(southWest[0].Longitude, -11);
  EXPECT_TRUE(southWest[0].AltUnit == L"ft");
}

TEST(TrajectoryFile, TimeOfDayIsReadByPosition) {
  struct {
    const char* text;
    SYSTEMTIME time;
  } const rows[] = {
      {"123519", Calendar(2023, 12, 22, 12, 35, 19)},  // whole seconds are common
      {"123519.", Calendar(2023, 12, 22, 12, 35, 19)},
      {"123519.5", Calendar(2023, 12, 22, 12, 35, 19, 50)},  // one decimal counts as hundredths
      {"123519.256", Calendar(2023, 12, 22, 12, 35, 19, 250)},
      {"1235", Calendar(2023, 12, 22, 12, 35)},
      {"x", Calendar(2023, 12, 22)},
  };
  for (const auto& [text, time] : rows) EXPECT_TRUE(SameInstant(Scan(FixAt(text))[0].SystemTimeUTC, time)) << text;
  const auto impossible = Scan(FixAt("235960"))[0];  // no calendar time: the file time stays zero
  EXPECT_EQ(impossible.SystemTimeUTC.wSecond, 60);
  EXPECT_EQ(kv::Ticks(impossible.TimeUTC), 0u);
  for (const std::uint64_t noDate : {~0ull, (1ull << 63) - 1}) {  // the second is of a year beyond the last
    EXPECT_EQ(kv::Ticks(Scan(kFix, kv::FileTimeFromTicks(noDate))[0].TimeUTC), 0u);
  }
}

TEST(TrajectoryFile, TheDateFollowsMidnightUnlessItBeganExactlyThere) {
  const std::string twoNights = FixAt("235959") + "short,120000\n" + FixAt("000001") + FixAt("230000") +
                                FixAt("000000") + FixAt("220000") + FixAt("000000");
  struct {
    std::uint64_t ticksAfterMidnight;
    int days[6];
  } const rows[] = {
      {0, {22, 22, 22, 23, 23, 23}},  // the first step stops one tick short of the next date
      {1, {22, 23, 23, 23, 23, 23}},  // and so does the one after a base that reaches midnight
      {432'000'000'000, {22, 23, 23, 24, 24, 24}},
  };
  for (const auto& [ticks, days] : rows) {
    const auto fixes = Scan(twoNights, kv::FileTimeFromTicks(kv::Ticks(UtcTime(2023, 12, 22)) + ticks));
    for (std::size_t i = 0; i < fixes.size(); ++i) EXPECT_EQ(fixes[i].SystemTimeUTC.wDay, days[i]) << ticks << ' ' << i;
  }
}

TEST(TrajectoryFile, ShortLinesAndUnreadableFilesGiveNothing) {
  const std::string eleven = "a,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M";
  const std::string nul("\0,\0\n", 4), megabyte(1 << 20, ',');
  for (const std::string& content : {std::string(), eleven + "\n", eleven + ",\r\n", eleven + ",,,,\n", nul, megabyte,
                                     std::string("\xFF\xFE\x80\n")}) {
    EXPECT_TRUE(Scan(content).empty());
    EXPECT_EQ(Scan(content + "\n" + kFix).size(), 1u);
  }
  EXPECT_TRUE(Scan("\x1A" + kFix).empty());
  const TempFolder folder;
  std::wstring error = L"left over";
  for (const std::wstring& path : {std::wstring(), folder.Wide("missing"), folder.Wide()}) {
    EXPECT_TRUE(KVUtilities::ScanKVTrajectoryFile(path, {}, error).empty() && error.empty());
  }
}

TEST(TrajectoryFile, AFieldThatIsNoNumberEndsTheScan) {
  struct {
    const char* line;
    const char* message;
  } const rows[] = {
      // An empty field shifts the later ones: the unit stands where the height should.
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,,545.4,M,46.9,M,,", "invalid stod argument"},
      {"$GPGGA,123519,4807,N,01131.000,E,1,08,0.9,545.4,M,46.9", "invalid string position"},
      {"$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W", "invalid string position"},
      {"$GPGGA,123519,4807.038,N,1e400.0,E,1,08,0.9,545.4,M,46.9", "stod argument out of range"},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,1e999,M,46.9", "stod argument out of range"},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,*47", "invalid stod argument"},
  };
  for (const auto& [line, message] : rows) EXPECT_EQ(ThrownText([&] { Scan(kFix + line); }), message) << line;
}

std::string Outcome(const std::vector<tagKVTrajectoryObs>& fixes) {
  std::string outcome;
  for (const tagKVTrajectoryObs& fix : fixes) {
    for (const double value : {fix.AdjGpsSec, fix.Latitude, fix.Longitude, fix.Altitude, fix.GeoidOffst}) {
      outcome += std::isnan(value) ? "nan," : std::to_string(std::bit_cast<std::int64_t>(value)) + ",";
    }
    const SYSTEMTIME& time = fix.SystemTimeUTC;
    for (const auto field :
         {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds}) {
      outcome += std::to_string(field) + ' ';
    }
    for (const wchar_t* at = fix.AltUnit.GetString(); *at; ++at) outcome += std::to_string(int{*at}) + ' ';
    outcome += std::to_string(kv::Ticks(fix.TimeUTC)) + '\n';
  }
  return outcome;
}

// What a scan gives, or what it throws.
template <class Scan>
std::string OutcomeOf(Scan scan) try {
  return Outcome(scan());
} catch (const std::invalid_argument&) {
  return "no number";
} catch (const std::out_of_range&) {
  return "out of range";
}

TEST(TrajectoryFile, AnyLinesGiveWhatThePlainReaderGives) {
  static constexpr std::string_view kCharacters = "0123456789.,,-+NSEWMeEx \t\v\r$*\x01";
  const TempFolder folder;
  std::mt19937 random(20231222);
  for (int round = TestSize(2'000, 100'000); round > 0; --round) {
    std::string content;
    for (auto lines = random() % 6; lines > 0; --lines) {
      std::string line = FixAt((random() % 2 ? "23" : "00") + std::to_string(1000 + random() % 9000) + ".45");
      for (auto changes = random() % 4; changes > 1; --changes) {
        line[random() % line.size()] = kCharacters[random() % kCharacters.size()];
      }
      content += line;
    }
    const std::wstring path = folder.Write("t.txt", content);
    std::wstring error;
    const FILETIME date = UtcTime(2023, 12, 22, 1);
    const auto file = folder.Path() / "t.txt";
    const std::string rule = OutcomeOf([&] { return baseline::ScanByWideTokens(file, date); });
    ASSERT_EQ(OutcomeOf([&] { return KVUtilities::ScanKVTrajectoryFile(path, date, error); }), rule) << content;
    if (rule == "no number" || rule == "out of range") continue;  // strtod does not tell
    ASSERT_EQ(OutcomeOf([&] { return baseline::ScanByStrtod(file, date); }), rule) << content;
  }
}

// A caller that knows the date of every fix gets what a scan of that date gives, bit for bit.
TEST(TrajectoryFile, AFixByItsDateAndHundredthsIsTheScannedOne) {
  const kv::DayClock day(UtcTime(2016, 12, 31, 7));  // a leap second ends it
  for (const std::uint32_t hundredths : {0u, 5u, 4'531'999u, 8'639'999u}) {
    const std::uint32_t second = hundredths / 100;
    char time[16];
    std::snprintf(time, sizeof time, "%02u%02u%02u.%02u", second / 3600, second / 60 % 60, second % 60,
                  hundredths % 100);
    const std::string_view tokens[] = {"GPGGA", time, "4807.038", "N",     "01131.000", "E",
                                       "1",     "08", "0.9",      "545.4", "M",         "46.9"};
    std::vector<tagKVTrajectoryObs> fixes(1);
    kv::ColumnText units;
    day.SetTime(hundredths, fixes[0]);
    kv::SetPlace(tokens, units, fixes[0]);
    EXPECT_EQ(Outcome(fixes), Outcome(Scan(FixAt(time), UtcTime(2016, 12, 31, 12)))) << time;
  }
}

// Room is made from the line that needs it: long, short and foreign lines before the others, all give every fix.
TEST(TrajectoryFile, LongFilesAreReadWhole) {
  const std::string other = "$GPVTG,no fix\n", longFix = kFix.substr(0, kFix.find('\n')) + std::string(900, ',') + "\n";
  for (const std::string& first : {kFix, longFix, other}) {
    std::string content;
    for (int i = 0; i < 300; ++i) content += first;
    for (int i = 0; i < 20'000; ++i) content += i % 2 ? other : kFix;
    EXPECT_EQ(Scan(content).size(), (first == other ? 0u : 300u) + 10'000u) << first;
  }
}

TEST(TrajectoryFile, EqualUnitsShareOneText) {
  const auto fixes = Scan(kFix + kFix);
  EXPECT_EQ(fixes[0].AltUnit.GetString(), fixes[1].AltUnit.GetString());
}

}  // namespace
