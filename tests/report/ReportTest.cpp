#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/FileNames.h"
#include "report/Columns.h"
#include "report/ReportData.h"
#include "report/TrackThinning.h"

namespace kv::mission {
namespace {

/// The data of a page, read as a browser does: the element ends at the first "</".
Json DataOf(const std::string& page) {
  const std::string begin = "<script type=\"application/json\" id=\"data\">";
  const std::size_t at = page.find(begin) + begin.size();
  return Json::parse(page.substr(at, page.find("</", at) - at));
}

TEST(Report, TakesHostileTextsAsTexts) {
  for (const std::string text : {"</script><script>alert(1)</script>", "<!--<script>", "]]>", "\"'&", "a\nb\tc",
                                 "\u2028\u2029", "\U0001D11E \u00E2\u20AC", "%DATA%", "<img src=x onerror=alert(1)>"}) {
    Mission mission;
    mission.settings.mission = PathFromText("/m/" + text);
    mission.findings = {{"code", Severity::Warning, {}, {}, text}};
    Exposure& exposure = mission.exposures.emplace_back();
    exposure.event.PhotoPath = WidePath(PathFromText("/m/x" + text)).c_str();
    mission.housekeeping.emplace().errors = {text};
    mission.thumbnails = {{PathFromText("/m/x" + text), std::string("\0\xFF<", 3)}, {"/m/y", "ab"}, {"/m/z", "a"}};
    const Json data = DataOf(ReportHtml(mission, "/m/out"));
    EXPECT_EQ(data["summary"]["mission"], "/m/" + text);
    EXPECT_EQ(data["summary"]["findings"][0]["text"], text);
    EXPECT_EQ(data["summary"]["housekeeping"]["errors"][0], text);
    EXPECT_EQ(data["exposures"]["photo"][0], ("x" + text).substr(("x" + text).rfind('/') + 1));
    EXPECT_EQ(data["thumbnails"], Json({"AP88", "YWI=", "YQ=="}));
  }
}

TEST(Report, LinksToPhotosFromItsFolder) {
  struct {
    const char *photo, *link;
  } const rows[] = {
    {"/m/cam1/a.jpg", "../cam1/a.jpg"},
    {"/m/out/a.jpg", "a.jpg"},
    {"/m/javascript:alert(1)", "../javascript%3Aalert%281%29"},
    {"/m/cam 1/<b>&\"'#?%.jpg", "../cam%201/%3Cb%3E%26%22%27%23%3F%25.jpg"},
#if !defined(_WIN32)
    {"/m/\xFF.jpg", "../%FF.jpg"},
#endif
    {"/m/\xD0\x9A\xE2\x82\xAC/x.jpg", "../%D0%9A%E2%82%AC/x.jpg"}
  };
  for (const auto& [photo, link] : rows) {
    Mission mission;
    mission.exposures.emplace_back().event.PhotoPath = WidePath(PathFromText(photo)).c_str();
    EXPECT_EQ(ReportDataOf(mission, "/m/out")["exposures"]["link"][0], link);
  }
}

TEST(Report, StatesTheMissionInALine) {
  Mission mission;
  mission.events.emplace();
  mission.exposures.resize(2);
  mission.exposures[0].drop = Drop{DropCode::NoPhoto};
  EXPECT_EQ(StateOf(mission).line, "Finished, but 1 of 2 exposures is not in the photo layer.");
  mission.complete = true;
  EXPECT_STREQ(StateOf(mission).word, "complete");
  mission.doubtful = true;
  mission.findings = {{"doubted", Severity::Doubt, {}, {}, ""}, {"failed", Severity::Failure, {}, {}, ""}};
  EXPECT_EQ(StateOf(mission).line, "Results may be wrong: 2 doubts below; there is no photo layer.");
  mission.settings.acceptDoubt = true;
  EXPECT_EQ(StateOf(mission).line, "Results may be wrong: 2 doubts below.");
}

TEST(NumberColumn, GivesNumbersBack) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN(),
                   kInfinity = std::numeric_limits<double>::infinity();
  const double values[] = {47.123456784, kNone, -179.99999999, 0, kInfinity, 1e300, -0.000000004, 12};
  NumberColumn column(8);
  for (const double value : values) column.Add(value);
  const Json json = column.Take();
  std::int64_t sum = 0;
  for (std::size_t i = 0; i < std::size(values); ++i) {
    const Json& step = json["steps"][i];
    ASSERT_EQ(step.is_null(), !(std::abs(values[i]) < 1e7)) << values[i];
    if (step.is_null()) continue;
    sum += step.get<std::int64_t>();
    EXPECT_NEAR(static_cast<double>(sum) / 1e8, values[i], 0.51e-8);
  }
}

TEST(FixesToDraw, KeepExtremesGapsAndQualities) {
  constexpr std::size_t kFixes = 100'000, kMost = 2000, kHigh = 33'333, kChange = 50'001, kSecondStretch = 77'777;
  Trajectory trajectory;
  trajectory.fixes.resize(kFixes);
  trajectory.qualities.resize(kFixes);
  for (std::size_t i = 0; i < kFixes; ++i) {
    trajectory.fixes[i].Latitude = 47 + 1e-6 * static_cast<double>(i);
    trajectory.qualities[i].quality = i < kChange ? PositionQuality::Fixed : PositionQuality::Single;
  }
  trajectory.fixes[kHigh].Altitude = 1;
  const auto drawn = FixesToDraw(trajectory, {0, kSecondStretch}, kMost);
  EXPECT_LE(drawn.size(), kMost);
  for (const std::size_t kept :
       {std::size_t{0}, kHigh, kChange - 1, kChange, kSecondStretch - 1, kSecondStretch, kFixes - 1})
    EXPECT_TRUE(std::binary_search(drawn.begin(), drawn.end(), kept)) << kept;
  trajectory.fixes.resize(kMost), trajectory.qualities.resize(kMost);
  EXPECT_EQ(FixesToDraw(trajectory, {0}, kMost).size(), kMost);
}

}  // namespace
}  // namespace kv::mission
