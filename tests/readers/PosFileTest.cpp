#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "KVUtilities.h"
#include "platform/FileNames.h"
#include "readers/PosSamples.h"
#include "support/Environment.h"
#include "support/GeodeticFolder.h"
#include "support/Times.h"
#include "support/Wkt.h"
#include "time/FileTimes.h"

namespace {

const std::string kRest = " 1 2 3 4 5 6 7 8 9 10\n";

class PosFile : public testing::Test {
 protected:
  const std::vector<tagKVPosEvent>& Scan(std::string_view content, const std::string& target = kGeographic) {
    events = KVUtilities::ScanKVPosFile(folder.Write("a.pos", content), kv::WideFromUtf8(target), error);
    return events;
  }

  const TempFolder folder;
  const GeodeticFolder data{"Earth 96,egm96_15.gtx\n"};
  const TimeZone utc{"UTC0"};
  std::vector<tagKVPosEvent> events;
  std::wstring error = L"left over";
};

TEST_F(PosFile, LinesAreSamplesOrNothing) {
  struct {
    std::string line;
    bool accepted;
  } const rows[] = {
      {"2200 100.5 48.25 15.5 300" + kRest, true},
      {"\t 2200\t\t100.5   48.25 \t15.5 300 1\t2 3 4 5 6 7 8 9 10 \r\n", true},
      {"2200 100.5 48.25 15.5 300 1 2 3 4 5 6 7 8 9 10 surplus nan %", true},
      {"2200 100.5 48.25 15.5 300 1 2 3 4 5 6 7 8 9\n", false},  // 14
      {"+2200 +100.5 +48.25 -15.5 -3e2" + kRest, true},
      {"-1 0 0 0 0" + kRest, true},
      {"% 100.5 48.25 15.5 300" + kRest, false},
      {"%x 100.5 48.25 15.5 300" + kRest, false},
      {"2200.0 100.5 48.25 15.5 300" + kRest, false},
      {"2147483648 100.5 48.25 15.5 300" + kRest, false},
      {"2200 1.5e 48.25 15.5 300" + kRest, false},
      {"2200 100.5 48.25x 15.5 300" + kRest, false},
      {"2200 100.5 48.25 15.5- 300" + kRest, false},
      {"2200 100.5 48.25 15.5 +" + kRest, false},
      {"2200,100.5,48.25,15.5,300,1,2,3,4,5,6,7,8,9,10\n", false},
      {"\n", false},
  };
  for (const auto& [line, accepted] : rows) {
    EXPECT_EQ(Scan(line).size(), accepted ? 1u : 0u) << line;
    EXPECT_EQ(error, L"") << line;
  }
}

TEST_F(PosFile, ASampleKeepsItsTextsBesideItsNumbers) {
  Scan("+2200 100.50 48.250 15.50 3e2 q 1 2 2 0.5 x y z \xE9 last\r\n", Compound("X + Earth 96", kUtm33, 2005));
  ASSERT_EQ(events.size(), 1u);
  const tagKVPosEvent& event = events[0];
  const auto texts = [](auto... text) { return std::vector<std::wstring>{std::wstring(text)...}; };
  EXPECT_EQ(texts(event.GpsWeekText, event.GpsSecondsText, event.LatitudeText, event.LongitudeText, event.HeightText,
                  event.Token6, event.Token7, event.Token8, event.Token9, event.Token10, event.Token11, event.Token12,
                  event.Token13, event.Token14, event.Token15),
            texts(L"+2200", L"100.50", L"48.250", L"15.50", L"3e2", L"q", L"1", L"2", L"2", L"0.5", L"x", L"y", L"z",
                  L"\u00E9", L"last"));
  EXPECT_EQ(std::tie(event.Latitude, event.Longitude, event.Height), std::make_tuple(48.25, 15.5, 300.0));
  EXPECT_NEAR(event.X, 537117.141935, 1e-6);  // from cs2cs
  EXPECT_NEAR(event.Y, 5344208.122025, 1e-6);
  EXPECT_NEAR(event.Z, 253.365925, 1e-6);
  EXPECT_EQ(event.Value1, 0.0);
  EXPECT_TRUE(event.Extra1.IsEmpty());
}

// Week 2200 began on 2022-03-06; GPS was 18 s ahead of UTC then. Adjusted seconds are 2200 * 604800 - 1e9 + seconds.
TEST_F(PosFile, TimesAreUtcWithTheFractionToTheTick) {
  struct {
    const char* weekAndSeconds;
    SYSTEMTIME utc;
    int ticks;  // of the second
  } const rows[] = {
      {"2200 100.5", Calendar(2022, 3, 6, 0, 1, 22, 500), 5'000'000},
      {"2200 0", Calendar(2022, 3, 5, 23, 59, 42), 0},
      {"2200 118.25", Calendar(2022, 3, 6, 0, 1, 40, 250), 2'500'000},
      {"2200 118.9990234375", Calendar(2022, 3, 6, 0, 1, 40, 999), 9'990'234},
      {"2200 118.99951171875", Calendar(2022, 3, 6, 0, 1, 40, 1000), 9'995'117},  // kept, not carried
      {"2199 604918.5", Calendar(2022, 3, 6, 0, 1, 40, 500), 5'000'000},
      {"-19777 0.5", Calendar(1601, 1, 1, 0, 0, 0, 500), 5'000'000},  // the year 1600 counts from zero
      {"2147483647 0", Calendar(1601, 1, 1), 0},
      {"2200 nan", {}, 4'775'808},           // 2^63 ticks
      {"1930 17", Calendar(2017, 1, 1), 0},  // the leap second before counts as the second after
  };
  for (const auto& [weekAndSeconds, utcTime, ticks] : rows) {
    Scan(weekAndSeconds + std::string(" 48 15 300") + kRest);
    ASSERT_EQ(events.size(), 1u) << weekAndSeconds;
    EXPECT_TRUE(SameInstant(events[0].SystemTimeUTC, utcTime)) << weekAndSeconds;
    EXPECT_EQ(kv::Ticks(events[0].TimeUTC) % 10'000'000, static_cast<std::uint64_t>(ticks)) << weekAndSeconds;
  }
  Scan("2200 100.5 48 15 300" + kRest);
  EXPECT_EQ(events.at(0).AdjGpsSec, 330'560'100.5);
}

TEST_F(PosFile, TimesPassThroughTheLocalCalendar) {
  // 2022-03-27 01:59:59.5, 02:00:00.5, 02:59:59.5 and 03:00:00.5 UTC; Berlin has no 02:00 to 03:00 on that day.
  const std::string lines = "2203 7217.5 48 15 300" + kRest + "2203 7218.5 48 15 300" + kRest +
                            "2203 10817.5 48 15 300" + kRest + "2203 10818.5 48 15 300" + kRest;
  struct {
    const char* zone;
    int hours[4];
  } const rows[] = {
    {"UTC0", {1, 2, 2, 3}},
#if defined(_WIN32)  // which takes rules of the United States for a zone in TZ
    {"CET-1CEST", {1, 2, 2, 3}},
#else
    {"CET-1CEST,M3.5.0,M10.5.0/3", {1, 3, 3, 3}},
#endif
    {"<+0530>-5:30", {1, 2, 2, 3}}
  };
  for (const auto& [zone, hours] : rows) {
    const TimeZone local(zone);
    Scan(lines);
    ASSERT_EQ(events.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(events[i].SystemTimeUTC.wHour, hours[i]) << zone << " " << i;
      EXPECT_EQ(events[i].SystemTimeUTC.wMilliseconds, 500) << zone;
    }
  }
}

TEST(PosSamples, TimesInUtcDoNotPassThroughTheLocalCalendar) {
  const TimeZone berlin("CET-1CEST,M3.5.0,M10.5.0/3");  // skips 02:00 to 03:00 on 2022-03-27
  kv::PosSampleReader reader(kv::Calendar::Utc);
  tagKVPosEvent sample;
  const std::array<std::string_view, kv::kPosTokens> tokens{};
  reader.Read(tokens, {2203, 7218.5, 48, 15, 300}, sample);
  EXPECT_TRUE(SameInstant(sample.SystemTimeUTC, Calendar(2022, 3, 27, 2, 0, 0, 500)));
}

TEST_F(PosFile, APointThatCannotBeTransformedEndsTheScan) {
  std::string lines;
  for (int i = 0; i < 99; ++i) lines += "2200 " + std::to_string(i) + " 48 15 300" + kRest;
  Scan(lines + "2200 99 95 15 300" + kRest + "2200 100 48 15 300" + kRest, kUtm33);
  EXPECT_EQ(events.size(), 99u);
  EXPECT_EQ(error, L"Error transforming POS point to target SRS.Error reported during transform operation.");
}

TEST_F(PosFile, SamplesInMemoryAreTransformedAsByTheScan) {
  std::vector<tagKVPosEvent> samples = Scan("2200 1 48.25 15.5 300" + kRest + "2200 2 48.5 14 100" + kRest, kUtm33);
  ASSERT_EQ(samples.size(), 2u);
  for (tagKVPosEvent& sample : samples) sample.X = sample.Y = sample.Z = -1;
  samples.resize(4, samples[0]);
  samples[2].Latitude = 95;
  struct {
    std::size_t samples;
    std::string target;
    std::size_t transformed;
    const wchar_t* error;
  } const rows[] = {
      {4, "x", 0,
       L"The coordinate systems could not be set up. Failed to set target coordinate system from WKT.\n"
       L"GDAL importFromWkt() returned 5."},
      {4, kUtm33, 2, L"Error transforming POS point to target SRS.Error reported during transform operation."},
      {2, kUtm33, 2, L""},
      {0, kUtm33, 0, L""},
  };
  for (const auto& row : rows) {
    std::vector<tagKVPosEvent> some(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(row.samples));
    std::size_t transformed = 99;
    const bool isDone = KVUtilities::TransformPosEvents(some, kv::WideFromUtf8(row.target), transformed, error);
    EXPECT_EQ(isDone, error.empty());
    EXPECT_EQ(error, row.error);
    ASSERT_EQ(transformed, row.transformed);
    for (std::size_t i = 0; i < some.size(); ++i) {
      const auto expected =
          i < transformed ? std::tuple(events[i].X, events[i].Y, events[i].Z) : std::tuple(-1.0, -1.0, -1.0);
      EXPECT_EQ(std::tuple(some[i].X, some[i].Y, some[i].Z), expected) << row.error << i;
    }
  }
}

// GDAL, when told to choose the operation itself, would choose one for both points together.
TEST_F(PosFile, PointsFarApartHaveTheirOwnOperations) {
  for (const char* selection : {"PROJ", "BEST_ACCURACY"}) {
    const ScopedVariable option("OGR_CT_OP_SELECTION", selection);
    const std::string nad27 = std::string("GEOGCS[\"") + selection +  // a name of its own: GDAL keeps transformations
                              R"(",DATUM["North_American_Datum_1927",SPHEROID["Clarke 1866",6378206.4,294.9786982]],)"
                              R"(PRIMEM["Greenwich",0],UNIT["degree",0.0174532925199433]])";
    std::vector<tagKVPosEvent> samples = Scan("2200 1 65 -150 0" + kRest + "2200 2 40 -83 0" + kRest, nad27);
    ASSERT_EQ(samples.size(), 2u);
    std::size_t transformed = 0;
    EXPECT_TRUE(KVUtilities::TransformPosEvents(samples, kv::WideFromUtf8(nad27), transformed, error));
    for (std::size_t i = 0; i < 2; ++i) EXPECT_EQ(samples[i].X, events[i].X) << selection << i;
  }
}

// Public samples, where they are at hand: what is accepted was counted by hand.
TEST_F(PosFile, SamplesAreReadWhole) {
  struct {
    const char* name;
    std::size_t samples;
  } const rows[] = {{"rtklibpy_old_rover.pos", 63},
                    {"rtklibpy_py_0315f.pos", 4521},
                    {"ginav_tokyo3530_PPK.pos", 1059},
                    {"matrtklib_static_rover_rtk.pos", 0},
                    {"graphgnss_test_head200.pos", 0}};
  for (const auto& [name, samples] : rows) {
    const std::filesystem::path path = std::filesystem::path(SAMPLES_FOLDER) / "pos" / name;
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no samples here";
    EXPECT_EQ(KVUtilities::ScanKVPosFile(kv::WidePath(path), kv::WideFromUtf8(kGeographic), error).size(), samples);
  }
}

TEST_F(PosFile, AMissingFileIsNoErrorAndAnUnusableTargetIs) {
  struct {
    const char* file;
    std::string target;
    const wchar_t* error;
  } const rows[] = {
      {"missing.pos", kGeographic, L""},
      {"missing.pos", "x",
       L"The coordinate systems could not be set up. Failed to set target coordinate system from WKT.\n"
       L"GDAL importFromWkt() returned 5."},
      {"missing.pos", Compound("X + Unlisted", kUtm33, 2005),
       L"The coordinate systems could not be set up. Missing geoid file for target vertical coordinate system."},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(KVUtilities::ScanKVPosFile(folder.Wide(row.file), kv::WideFromUtf8(row.target), error).empty());
    EXPECT_EQ(error, row.error);
  }
}

}  // namespace
