#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "KVUtilities.h"
#include "crs/CoordinateSystemTransformer.h"
#include "platform/FileNames.h"
#include "readers/ApplanixSamples.h"
#include "support/Environment.h"
#include "support/GeodeticFolder.h"
#include "support/TempFolder.h"
#include "support/Times.h"
#include "support/Wkt.h"
#include "time/FileTimes.h"

namespace {

const std::string kDate = "   Date of Mission: 2022-03-12\n   Start Time: 23:00:00\n";
const std::string kFrame = " Mapping frame datum: WGS84  ; Mapping frame projection : TM;\n";
const std::string kColumns =
    " TIME, DISTANCE, EASTING, NORTHING, ELLIPSOID HEIGHT, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT, ROLL, PITCH, "
    "HEADING, "
    "EAST VELOCITY, NORTH VELOCITY, UP VELOCITY, EAST SD, NORTH SD, HEIGHT SD, ROLL SD, PITCH SD, HEADING SD\n";
const std::string kEnd = "\n  (time in Sec, distance in Meters, ...)\n\n";
const std::string kHeader = "*****\n POS Export Utility\n Mission Start Time:\n" + kDate + kFrame + kColumns + kEnd;

// Everything from the distance on; 601218 s is 2022-03-12 23:00:00 UTC, 18 s behind GPS.
const std::string kRow =
    " 1379990.767 667926.862 3982716.364 711.5 48.25 15.5 712.5 1.5 2.5 271.106 0.1 0.2 0.3 0.4 0.5 "
    "0.6 0.7 0.8 0.9\n";

class ApplanixFile : public testing::Test {
 protected:
  const std::vector<tagKVPosEvent>& Scan(std::string_view content) {
    error = L"left over";
    return events = KVUtilities::ScanApplanixPostProcessTrajectoryFile(folder.Write("a.txt", content), error);
  }

  const TempFolder folder;
  const TimeZone utc{"UTC0"};
  std::vector<tagKVPosEvent> events;
  std::wstring error;
};

TEST_F(ApplanixFile, ARowKeepsItsColumns) {
  Scan(kHeader + "601218.25" + kRow);
  EXPECT_EQ(error, L"");
  ASSERT_EQ(events.size(), 1u);
  const tagKVPosEvent& event = events[0];
  EXPECT_EQ(std::tie(event.Latitude, event.Longitude, event.Height, event.X, event.Y, event.Z, event.Value1,
                     event.Value2, event.Value3),
            std::make_tuple(48.25, 15.5, 712.5, 667926.862, 3982716.364, 711.5, 1.5, 2.5, 271.106));
  const auto texts = [](auto... text) { return std::vector<std::wstring>{std::wstring(text)...}; };
  EXPECT_EQ(texts(event.GpsWeekText, event.GpsSecondsText, event.LatitudeText, event.LongitudeText, event.HeightText,
                  event.Token6, event.Token7, event.Token8, event.Token9, event.Token10, event.Token11, event.Token12,
                  event.Token13, event.Token14, event.Token15, event.Extra1, event.Extra2, event.Extra3, event.Extra4),
            texts(L"2200", L"601218.25", L"48.25", L"15.5", L"712.5", L"0.1", L"0.2", L"0.3", L"0.4", L"0.5", L"0.6",
                  L"0.7", L"0.8", L"0.9", L"1379990.767", L"WGS84", L"TM", L"Applanix", L""));
  EXPECT_TRUE(SameInstant(event.SystemTimeUTC, Calendar(2022, 3, 12, 23, 0, 0, 250)));
  EXPECT_EQ(event.AdjGpsSec, 2200 * 604800.0 + 601218.25 - 1e9);
}

TEST_F(ApplanixFile, TheWeekFollowsFromTheMissionsStart) {
  struct {
    const char* seconds;
    const wchar_t* week;
  } const rows[] = {{"601218", L"2200"}, {"604799", L"2200"},   {"10", L"2201"},
                    {"298817", L"2201"}, {"298818.5", L"2200"}, {"604801", L"2200"}};
  for (const auto& [seconds, week] : rows) {
    Scan(kHeader + seconds + kRow);
    ASSERT_EQ(events.size(), 1u) << seconds;
    EXPECT_EQ(std::wstring(events[0].GpsWeekText), week) << seconds;
  }
}

TEST_F(ApplanixFile, HeadersSayWhatIsThereAndWhatIsMissing) {
  const std::string kError = "Error scanning Applanix trajectory file. The header ";
  const std::string kShort = " TIME, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT\n";
  struct {
    const char* description;
    std::string content;
    std::size_t rows;
    std::string error;
  } const rows[] = {
      {"a byte order mark", "\xEF\xBB\xBF" + kDate + kShort + kEnd + "1 48 15 300\n", 1, ""},
      {"a column without a name", kDate + "LATITUDE,, LONGITUDE, TIME, ELLIPSOID HEIGHT\n" + kEnd + "48 x 15 1 300\n",
       1, ""},
      {"short rows", kDate + kShort + kEnd + "1 48 15 300\n", 1, ""},
      {"another order, and spaces",
       kDate + "LONGITUDE ,ELLIPSOID HEIGHT,TIME , LATITUDE\r\n" + kEnd + "15 300 1 48\r\n", 1, ""},
      {"no time of start", "Date of Mission: 2022-03-12\n" + kShort + kEnd + "1 48 15 300\n", 1, ""},
      {"a time that is none", "Date of Mission: 2022-03-12\nStart Time: 6:00:00\n" + kShort + kEnd + "1 48 15 300\n", 1,
       ""},
      {"other labels",
       kDate + "Event Start Time: none\nNew Date of Mission: 1\nDate of Mission: none\n" + kShort + kEnd +
           "1 48 15 300\n",
       1, ""},
      {"a comma behind the names", kDate + " TIME, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT, \n" + kEnd + "1 48 15 300\n",
       1, ""},
      {"no date", kFrame + kColumns + kEnd + "1" + kRow, 0, kError + "holds no mission date."},
      {"no such date", "Date of Mission: 2022-13-12\n" + kShort + kEnd + "1 48 15 300\n", 0,
       kError + "holds no mission date."},
      {"missing columns", kDate + " TIME, LATITUDE, HEIGHT SD\n" + kEnd, 0,
       kError + "names no LONGITUDE, ELLIPSOID HEIGHT."},
      {"no header", "1 2 3\n", 0, kError + "names no TIME, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT."},
      {"empty", "", 0, kError + "names no TIME, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT."},
      {"no rows", kHeader, 0, ""},
      {"one bad row", kHeader + "1" + kRow + "x" + kRow + "\n2" + kRow, 2, "There was one row that could not be read."},
      {"not finite", kDate + kShort + kEnd + "1 nan 15 300\n1 48 15 inf\nnan 48 15 300\n1 48 15 300\n", 1,
       "There were 3 rows that could not be read."},
      {"bad rows", kHeader + "1 2 3\n" + "1" + kRow + "2e" + kRow, 1, "There were 2 rows that could not be read."},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Scan(row.content).size(), row.rows) << row.description;
    EXPECT_EQ(kv::Utf8FromWide(error), row.error) << row.description;
  }
  EXPECT_TRUE(KVUtilities::ScanApplanixPostProcessTrajectoryFile(L"none.txt", error).empty());
  EXPECT_EQ(error, L"");
}

TEST_F(ApplanixFile, ADateCanBeGiven) {
  const FILETIME day = kv::FileTimeOrZero(Calendar(2022, 3, 12));
  const std::wstring path = folder.Write("a.txt", kFrame + kColumns + kEnd + "601218.25" + kRow);
  events = KVUtilities::ScanApplanixPostProcessTrajectoryFile(day, path, error);
  EXPECT_EQ(error, L"");
  ASSERT_EQ(events.size(), 1u);
  EXPECT_TRUE(SameInstant(events[0].SystemTimeUTC, Calendar(2022, 3, 12, 23, 0, 0, 250)));
}

TEST(ApplanixReader, ADateCanBeGivenOnceTheHeaderTurnsOutToLackOne) {
  const TimeZone berlin("CET-1CEST,M3.5.0,M10.5.0/3");  // skips 02:00 to 03:00 on 2022-03-27
  const std::string row = "7218.25" + kRow;
  kv::ApplanixReader reader(kv::Calendar::Utc);
  std::vector<tagKVPosEvent> samples;
  for (const std::string& line : {kColumns, std::string("(time in Sec)"), row}) reader.Read(line, samples);
  EXPECT_TRUE(samples.empty() && reader.IsInRows() && !reader.IsDated() && !reader.IsReadable());
  reader.BeginAt(UtcTime(2022, 3, 27));
  reader.Read(row, samples);
  ASSERT_EQ(samples.size(), 1u);
  EXPECT_TRUE(SameInstant(samples[0].SystemTimeUTC, Calendar(2022, 3, 27, 2, 0, 0, 250)));
}

// Seconds since the start of the sample's GPS week, in which GPS was 15 s ahead of UTC.
double SecondsOfWeek(const tagKVPosEvent& event) {
  constexpr std::uint64_t kTicksPerWeek = 6'048'000'000'000;
  const std::uint64_t start = kv::Ticks(kv::FileTimeOrZero(Calendar(1980, 1, 6)));
  return static_cast<double>((kv::Ticks(event.TimeUTC) - start + 150'000'000) % kTicksPerWeek) / 1e7;
}

// Rows of a public export, where they are at hand: the numbers are those of its columns, and its own eastings and
// northings are a second opinion on its positions.
TEST_F(ApplanixFile, RealRowsAreReadAndAgreeWithTheirMapProjection) {
  const std::filesystem::path sample = SAMPLES_FOLDER "/applanix/s251_sbet_subset.txt";
  if (!std::filesystem::exists(sample)) GTEST_SKIP() << "no samples here";
  events = KVUtilities::ScanApplanixPostProcessTrajectoryFile(kv::FileTimeOrZero(Calendar(2009, 10, 1)),
                                                              kv::WidePath(sample), error);
  EXPECT_EQ(error, L"");
  ASSERT_EQ(events.size(), 335u);
  std::ifstream file(sample);
  for (std::string line; line.find("(time in Sec") == std::string::npos;) ASSERT_TRUE(std::getline(file, line));
  std::string zone11 = kUtm33;
  zone11.replace(zone11.find("\"central_meridian\",15"), 21, "\"central_meridian\",-117");
  const GeodeticFolder data("");
  CoordinateSystemTransformer transformer;
  ASSERT_EQ(transformer.Setup(kv::WideFromUtf8(kGeographic), kv::WideFromUtf8(zone11), error), 0);
  for (const tagKVPosEvent& event : events) {
    std::array<double, 20> of{};
    for (double& value : of) ASSERT_TRUE(file >> value);
    EXPECT_NEAR(SecondsOfWeek(event), of[0], 2e-7);
    EXPECT_EQ((std::array{event.X, event.Y, event.Z, event.Latitude, event.Longitude, event.Height, event.Value1,
                          event.Value2, event.Value3}),
              (std::array{of[2], of[3], of[4], of[5], of[6], of[7], of[8], of[9], of[10]}));
    const CStringW* const texts[] = {&event.Token15, &event.Token6,  &event.Token7,  &event.Token8,  &event.Token9,
                                     &event.Token10, &event.Token11, &event.Token12, &event.Token13, &event.Token14};
    for (std::size_t i = 0; i < std::size(texts); ++i) {
      EXPECT_EQ(std::stod(texts[i]->GetString()), of[i == 0 ? 1 : i + 10]) << i;
    }
    double x = event.Longitude, y = event.Latitude, z = event.Height;
    ASSERT_EQ(transformer.Transform(&x, &y, &z, 1), 0);
    EXPECT_NEAR(x, event.X, 0.01);
    EXPECT_NEAR(y, event.Y, 0.01);
  }
}

}  // namespace
