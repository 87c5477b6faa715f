#include "readers/PosLine.h"

#include <gtest/gtest.h>

#include <cmath>

#include "mission/inputs/Inputs.h"
#include "mission/inputs/PosFile.h"
#include "platform/FileNames.h"
#include "support/TempFolder.h"
#include "support/TestJob.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

const std::string kRest = " 1 10 0.03 0.04 0.05 0 0 0 0.5 99.9\n";
const std::string kNames = "Q ns sdn(m) sde(m) sdu(m) sdne(m) sdeu(m) sdun(m) age(s) ratio\n";

TEST(PosLine, TellsWhatALineWithoutHeaderIs) {
  using enum PosLineKind;
  struct {
    std::string line;
    PosLineKind kind;
  } const rows[] = {
      {"2200 345600.0\t48.25 15.5 300.0" + kRest, Sample},
      {"-1 1e3 -90 360 -5" + kRest, Sample},
      {"2200 345600 90.001 15.5 300.0" + kRest, OutOfRange},
      {"2200 345600 nan 15.5 300.0" + kRest, NotANumber},
      {"2200.0 345600 48.25 15.5 300.0" + kRest, NotANumber},
      {"2200 345600 48,25 15,5 300,0" + kRest, NotANumber},  // decimal commas
      {"2200;345600;48,25;15,5;300,0;1;2;3;4;5;6;7;8;9;10", NotANumber},
      {"2024/06/24 08:20:00,000 48,25 15,5 300,0" + kRest, OutOfRange},
      {"2200 345600 10.5 20.5 6356760.0" + kRest, Sample},  // ECEF, at a pole
      {"2200 345600 48 15 00.00000 15 30 00.00000 300.0" + kRest, Sample},
      {"2200 345600 -0 15 59.99999 -105 08 50.1 300.0 1 10", Short},
      {"2024/06/24 08:20:00.000 35.13 136.97 104.8" + kRest, Sample},
      {"2024-06-24T08:20:00Z 35.13 136.97 104.8" + kRest, Sample},
      {"2024-06-31 08:20:00 35.13 136.97 104.8" + kRest, OutOfRange},
      {"2024-06-24 08:61:00 35.13 136.97 104.8" + kRest, OutOfRange},
      {"2024- 08:20:00 35.13 136.97 104.8" + kRest, NotANumber},
      {"2024-06-24T08:20:00 35.13 136.97 104.8", Short},
      {"1917,265732.000,  22.4, 114.2,  53.2, 1, 7, 0, 0, 0, 0, 0, 0, 0, 9.5", Sample},
      {"1917,265732.000,,22.4, 114.2,  53.2, 1, 7, 0, 0, 0, 0, 0, 0, 0, 9.5", NotANumber},  // a column is empty
      {"1917;265732.000;22.4", Short},
      {"2200 345600.0 48.25 15.5 300.0 1 10", Short},
      {"% a comment", Comment},
      {"week seconds", Comment},
      {" \t", Blank},
  };
  for (const auto& [line, kind] : rows) {
    PosLineReader reader;
    const std::string_view text = std::string_view(line).substr(0, line.find('\n'));
    EXPECT_EQ(reader.Read(text), kind) << line;
    EXPECT_EQ(KindOfContent("% comment\n" + line) == FileKind::Pos, kind == Sample) << line;
  }
}

/// One sample after a header. Expected places are from PROJ's cs2cs and cct, times from a calendar.
TEST(PosLine, TakesTheFormFromTheHeader) {
  const std::string geographic = "latitude(deg) longitude(deg) height(m) " + kNames;
  const std::string reference = "% ref pos   : 48.25  15.5    300.0\n";
  const std::string place = "48.25 15.5 300.0" + kRest;
  constexpr double kOnAxis = 0.03535534;  // root of the mean of 0.03^2 and 0.04^2
  struct {
    std::string text;
    double seconds;
    Geodetic place;
    double horizontal, vertical;
    const char* texts;  // the first five
  } const rows[] = {
      {"% GPST " + geographic + "2320 116400.5 " + place,
       116400.5,
       {48.25, 15.5, 300},
       kOnAxis,
       0.05,
       "2320 116400.5 48.25 15.5 300.0"},
      {"% UTC " + geographic + "2320 116400.5 " + place,
       116418.5,
       {48.25, 15.5, 300},
       kOnAxis,
       0.05,
       "2320 116418.500 48.25 15.5 300.0"},
      {"% UTC " + geographic + "2024/06/24 08:20:00.250 " + place, 116418.25, {48.25, 15.5, 300}, kOnAxis, 0.05, ""},
      {"% JST " + geographic + "2024/06/24 08:20:00 " + place, 84018, {48.25, 15.5, 300}, kOnAxis, 0.05, ""},
      {"% GPST " + geographic + "2024/06/24 08:20:00 " + place, 116400, {48.25, 15.5, 300}, kOnAxis, 0.05, ""},
      // A leap second, at the end of 2016: second 18 of the GPS week's day is the first one after it.
      {"% UTC " + geographic + "2016/12/31 23:59:60.5 " + place, 17.5, {48.25, 15.5, 300}, kOnAxis, 0.05, ""},
      {"% UTC " + geographic + "2017/01/01 00:00:00 " + place, 18, {48.25, 15.5, 300}, kOnAxis, 0.05, ""},
      {"% JST " + geographic + "2017/01/01 09:00:00 " + place, 18, {48.25, 15.5, 300}, kOnAxis, 0.05, ""},
      {"%  GPST latitude(d'\") longitude(d'\") height(m) " + kNames + "2320 7 -0 15 36.0 -15 30 60.0 300" + kRest,
       7,
       {-0.26, -15 - 31 / 60.0, 300},
       kOnAxis,
       0.05,
       "2320 7 -0.260 -15.5166666667 300"},
      {"%  GPST x-ecef(m) y-ecef(m) z-ecef(m) Q ns sdx(m) sdy(m) sdz(m) sdxy(m) sdyz(m) sdzx(m) age(s) ratio\n"
       "2320 7 4100458.5880 1137157.8083 4735655.6377 1 10 0.04 0.04 0.04 0 0 0 0.5 99.9\n",
       7,
       {48.25, 15.5, 300},
       0.04,
       0.04,
       ""},
      {reference + "% (e/n/u-baseline=WGS84,Q=1:fix)\n% GPST e-baseline(m) n-baseline(m) u-baseline(m) Q ns sde(m)\n"
                   "2320 7 100 200 10 1 10 0.1\n",
       7,
       {48.251798543, 15.501346528, 310.003921},
       NAN,
       NAN,
       ""},
      {"% ref pos : 48 15 00.00000 15 30 00.00000 300\n% GPST e-baseline(m) n-baseline(m) u-baseline(m)\n"
       "2320 7 100 200 10\n",
       7,
       {48.251798543, 15.501346528, 310.003921},
       NAN,
       NAN,
       ""},
      {"% ref pos : 4100458.5880  1137157.8083  4735655.6377\n% GPST x-baseline(m) y-baseline(m) z-baseline(m)\n"
       "2320 7 0 0 0\n",
       7,
       {48.25, 15.5, 300},
       NAN,
       NAN,
       ""},
      // Columns in another order, and others between them; a header that names them needs no fifteen.
      {"Week,TOW,Height(m),Lon(deg),Lat(deg),Name,Q\n2320,7,300,15.5,48.25,a,5\n", 7, {48.25, 15.5, 300}, NAN, NAN, ""},
  };
  for (const auto& row : rows) {
    const TempFolder folder;
    folder.Write("a.pos", row.text);
    TestJob job;
    LineReader lines(folder.Path() / "a.pos", CtrlZ::EndsText, job, "");
    PosHeader header;
    PosLines piece;
    ASSERT_TRUE(TakeLines(lines, header, 100, piece));
    const PosPart part = ReadPosLines(piece, PosDetail::Records);
    ASSERT_EQ(part.samples.size(), 1u) << row.text;
    const auto& sample = part.samples[0];
    const std::wstring seconds = sample.GpsSecondsText.GetString();
    EXPECT_NEAR(std::stod(seconds), row.seconds, 1e-9) << row.text;
    EXPECT_NEAR(sample.Latitude, row.place.latitude, 2e-9) << row.text;
    EXPECT_NEAR(sample.Longitude, row.place.longitude, 2e-9) << row.text;
    EXPECT_NEAR(sample.Height, row.place.height, 1e-4) << row.text;
    std::string texts;
    for (const auto& text :
         {sample.GpsWeekText, sample.GpsSecondsText, sample.LatitudeText, sample.LongitudeText, sample.HeightText})
      texts += (texts.empty() ? "" : " ") + Utf8(std::wstring(text.GetString()));
    EXPECT_TRUE(*row.texts == '\0' || texts == row.texts) << row.text << texts;
    TestJob other;
    const Trajectory trajectory = ReadPosTrajectory(folder.Path() / "a.pos", 2, other);
    const FixQuality& quality = trajectory.qualities.at(0);
    EXPECT_EQ(std::isnan(row.horizontal), std::isnan(quality.horizontalSigma)) << row.text;
    if (std::isnan(row.horizontal)) continue;
    EXPECT_NEAR(quality.horizontalSigma, row.horizontal, 1e-7) << row.text;
    EXPECT_NEAR(quality.verticalSigma, row.vertical, 1e-7) << row.text;
    EXPECT_EQ(quality.quality, PositionQuality::Fixed) << row.text;
    EXPECT_EQ(quality.satellites, 10) << row.text;
  }
}

TEST(PosFile, SaysWhyNothingCanBeUsedAndWhatHadToBeAssumed) {
  const std::string columns = "% GPST latitude(deg) longitude(deg) height(m) " + kNames;
  const std::string sample = "2320 7 48.25 15.5 300" + kRest,
                    noReference = "% GPST e-baseline(m) n-baseline u-baseline\n";
  struct {
    std::string text;
    const char* failure;  // of the trajectory
    std::vector<const char*> warnings;
  } const rows[] = {
      {columns, "no sample in 1 line: a header without solutions", {"a header without solutions"}},
      {"% latitude(deg), longitude(deg), height(m), name\n48.25 15.5 300 BASE\n",
       "a table of places without times, such as a list of stations",
       {"1 line", "list of stations"}},
      {"% GPST latitude(deg) longitude(deg) height(ft) " + kNames + sample + "\n",
       "heights in ft, not in metres",
       {"1 line", "heights in ft"}},
      {noReference + "2320 7 100 200 10\n", "the header gives no reference position", {"with a baseline", "baselines"}},
      {columns + sample + noReference + "2320 8 100 200 10\n", "", {"1 line left out, with a baseline"}},
      {"2024/06/24 08:20:00 48.25 15.5 300" + kRest, "", {"taken for GPS time"}},
      {"% (lat/lon/height=Tokyo/ellipsoidal,Q=1:fix)\n" + sample, "", {"names the datum Tokyo"}},
      {columns + sample, "", {}},
  };
  for (const auto& [text, failure, warnings] : rows) {
    const TempFolder folder;
    folder.Write("a.pos", text);
    TestJob job;
    const std::string said =
        FailureOf([&] { ReadPosTrajectory(folder.Path() / "a.pos", 2, job); }, Failure::Reason::Failed);
    EXPECT_TRUE(*failure == '\0' ? said.empty() : Contains(said, failure)) << text << said;
    TestJob described;
    EXPECT_EQ(KindOfContent(text), FileKind::Pos) << text;
    ReadPosFile(folder.Path() / "a.pos", described);
    ExpectParts(described.Warnings(), warnings, text);
  }
}

/// One solution in every form that a program writes; the samples of this folder are only there with the project's data.
TEST(PosFile, EveryFormGivesTheSamePlaces) {
  const std::filesystem::path folder = std::filesystem::path(SAMPLES_FOLDER) / "pos-forms";
  if (!std::filesystem::exists(folder / "llh.pos")) GTEST_SKIP() << "without the samples";
  TestJob job;
  const Trajectory plain = ReadPosTrajectory(folder / "llh.pos", 60, job);
  struct {
    const char* file;
    double seconds, metres, up;  // half a digit of the file, or what the geoid leaves open
  } const rows[] = {{"caltime", 1e-9, 1e-6, 1e-6}, {"comma", 1e-9, 1e-6, 1e-6},    {"dec9", 6e-4, 1e-6, 1e-6},
                    {"dms", 1e-9, 3e-4, 1e-6},     {"ecef", 1e-9, 2e-4, 2e-4},     {"enu", 1e-9, 2e-4, 2e-4},
                    {"utcweek", 1e-9, 1e-6, 1e-6}, {"combined", 1e-9, 1e-6, 1e-6}, {"geodetic", 1e-9, 1e-6, 0.5}};
  for (const auto& [file, seconds, metres, up] : rows) {
    const Trajectory other = ReadPosTrajectory(folder / (std::string(file) + ".pos"), 60, job);
    ASSERT_EQ(other.fixes.size(), plain.fixes.size()) << file;
    for (std::size_t i = 0; i < plain.fixes.size(); ++i) {
      const auto &a = plain.fixes[i], &b = other.fixes[i];
      EXPECT_NEAR(a.AdjGpsSec, b.AdjGpsSec, seconds) << file;
      const EastNorthUp way =
          Between(ToEcef({a.Latitude, a.Longitude, a.Altitude}), ToEcef({b.Latitude, b.Longitude, b.Altitude}));
      EXPECT_LT(std::hypot(way.east, way.north), metres) << file;
      EXPECT_LT(std::abs(way.up), up) << file;
      const bool isCombined = std::string_view(file) == "combined";  // of forward and backward: more accurate
      EXPECT_NEAR(plain.qualities[i].horizontalSigma, other.qualities[i].horizontalSigma, isCombined ? 0.01 : 2e-4)
          << file;
    }
  }
}

}  // namespace
}  // namespace kv::mission
