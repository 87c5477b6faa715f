#include "mission/inputs/GpxFile.h"

#include <cmath>

#include "mission/inputs/Inputs.h"
#include "mission/inputs/Trajectories.h"
#include "support/CommandTest.h"
#include "support/TestJob.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr const char* kDay = "<time>2024-05-02T";

class GpxFileTest : public CommandTest {
 protected:
  Trajectory Read(const std::string& content) {
    const std::string gpx = R"(<gpx version="1.1" creator="a" xmlns="http://www.topografix.com/GPX/1/1">)";
    temp_.Write("a", "<?xml version=\"1.0\"?>\n" + gpx + content);
    return ReadAnyTrajectory(temp_.Path() / "a", {}, 120, job_);
  }

  TestJob job_;
};

std::string Point(const std::string& content, const char* place = R"(lat="48.25" lon="15.5")") {
  return std::string("<trkpt ") + place + ">" + content + "</trkpt>";
}
std::string Track(const std::string& points) { return "<trk><trkseg>" + points + "</trkseg></trk>"; }

TEST_F(GpxFileTest, TakesWhatAPointSaysAndNoMore) {
  struct {
    std::string point;
    const char* time;  // null for a point that is left out
    double height;
    PositionQuality quality;
    const char* warning;
  } const rows[] = {
      {"<ele>300</ele><time>2024-05-02T10:00:59.999Z</time><fix>dgps</fix>", "2024-05-02T10:00:59.999Z", 300,
       PositionQuality::Dgps, nullptr},
      {"<ele>300</ele><time>2024-05-02T15:30:01+05:30</time><geoidheight>-40.5</geoidheight><fix>3d</fix>",
       "2024-05-02T10:00:01.000Z", 259.5, PositionQuality::Single, nullptr},
      {"<ele>300</ele><time>2024-05-02T10:00:01</time>", "2024-05-02T10:00:01.000Z", 300, PositionQuality::None,
       nullptr},
      {"<ele> 300 </ele><time>\n2024-05-02T06:00:60.25-04:00\n</time><extensions><ele>7</ele></extensions>",
       "2024-05-02T10:01:00.250Z", 300, PositionQuality::None, nullptr},
      {"<ele>" + std::string(70, ' ') + "300" + std::string(70, '\n') + "</ele><time>2024-05-02T10:00:01Z</time>",
       "2024-05-02T10:00:01.000Z", 300, PositionQuality::None, nullptr},
      {"<ele>300</ele><time>2024-05-02T10:00:01+99:99</time>", nullptr, 0, {}, "left out, without a valid time"},
      {"<ele>300</ele><time>2024-05-02T10:00</time>", nullptr, 0, {}, "1 point left out, without a valid time"},
      {"<ele>300</ele><time>2024-05-02T10:00:01+05</time>", nullptr, 0, {}, "1 point left out, without a valid time"},
      {"<ele>300</ele>", nullptr, 0, {}, "1 point left out, without a valid time"},
      {"<time>2024-05-02T10:00:01Z</time>", nullptr, 0, {}, "without a valid place and elevation"},
      {"<ele>inf</ele><time>2024-05-02T10:00:01Z</time>", nullptr, 0, {}, "without a valid place and elevation"},
      {"<ele>300</ele><time>2024-05-02T10:00:01Z</time><fix>none</fix>", nullptr, 0, {}, "without a fix"},
  };
  const std::string last = Point(kDay + std::string("10:01:40Z</time><ele>300</ele>"));
  for (const auto& [point, time, height, quality, warning] : rows) {
    const std::size_t before = job_.Warnings().size();
    const Trajectory trajectory = Read(Track(Point(point) + last) + "</gpx>");
    ASSERT_EQ(trajectory.fixes.size(), time ? 2u : 1u) << point;
    ASSERT_EQ(job_.Warnings().size() - before, warning ? 1u : 0u) << point;
    EXPECT_TRUE(!warning || Contains(job_.Warnings().back(), warning)) << job_.Warnings().back();
    if (!time) continue;
    EXPECT_EQ(IsoText(FromFileTime(trajectory.fixes[0].TimeUTC)), time);
    EXPECT_EQ(trajectory.fixes[0].Altitude, height) << point;
    EXPECT_EQ(trajectory.qualities[0].quality, quality) << point;
    EXPECT_EQ(trajectory.heightsUnknown, Contains(point, "geoidheight") ? 1u : 2u) << point;
  }
}

TEST_F(GpxFileTest, JoinsSegmentsInOrderOfTime) {
  const auto at = [](const char* time) { return Point(kDay + std::string(time) + "Z</time><ele>300</ele>"); };
  const Trajectory trajectory = Read(Track(at("12:00:00") + at("12:00:01")) +
                                     Track(at("10:00:00") + "</trkseg><trkseg>" + at("11:00:00")) + "</gpx>");
  std::vector<std::string> times;
  for (const auto& fix : trajectory.fixes) times.push_back(IsoText(FromFileTime(fix.TimeUTC)).substr(11, 8));
  EXPECT_EQ(times, (std::vector<std::string>{"10:00:00", "11:00:00", "12:00:00", "12:00:01"}));
  EXPECT_EQ(trajectory.gaps.size(), 2u);
}

TEST_F(GpxFileTest, RefusesWithTheReason) {
  const std::string whole = Point("<ele>3</ele><time>2024-05-02T10:00:01Z</time>");
  struct {
    std::string content;
    const char* said;
  } const rows[] = {
      {"</gpx>", "no track"},
      {R"(<wpt lat="48" lon="15"><time>2024-05-02T10:00:01Z</time></wpt></gpx>)", "waypoints or routes alone"},
      {Track(Point("<ele>3</ele>")) + "</gpx>", "a track without times"},
      {Track(Point("<time>2024-05-02T10:00:01Z</time>")) + "</gpx>", "without places or elevations"},
      {Track(Point("<ele>3</ele><time>2024-05-02T10:00:01Z</time>", R"(lat="x" lon="15")")) + "</gpx>",
       "without places or elevations"},
      {Track(whole), "no sound XML: no element found in line 2"},
      {"<trk><trkseg>" + whole + "</trkpt></trkseg></gpx>", "no sound XML: mismatched tag in line 2"},
      {Track(whole + Point("\n<ele>3 m</ele>")) + "</gpx>", "line 3: ele \"3 m\" is not a number"},
      {Track(Point("<ele>4<b>9</b>1</ele>")) + "</gpx>", "ele is not a plain value"},
      {Track(Point("<ele>4</ele><ele>5</ele>")) + "</gpx>", "ele stands twice in a point"},
      {Track(Point("<ele>4." + std::string(70, '0') + "e2</ele>")) + "</gpx>", "ele is not a plain value"},
      {Track(whole + Point("<sat>many</sat>")) + "</gpx>", "line 2: sat \"many\" is not a number"},
  };
  for (const auto& [content, said] : rows) {
    const std::string failure = FailureOf([&] { Read(content); }, Failure::Reason::Failed);
    EXPECT_TRUE(Contains(failure, said)) << content << failure;
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(temp_.Path()), {}), 1)
      << "something is written beside it";
}

TEST_F(GpxFileTest, ReadsOtherFormsOfTheSameXml) {
  const std::string points = Track(Point("<ele>3</ele><time>2024-05-02T10:00:01Z</time>", R"(lat="0" lon="0")"));
  const auto read = [&](const std::string& file) {
    temp_.Write("b", file);
    return ReadAnyTrajectory(temp_.Path() / "b", {}, 120, job_).fixes.size();
  };
  EXPECT_EQ(
      read("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"windows-1252\"?><gpx><name>\x96</name>" + points + "</gpx>"),
      1u);
  const std::string entities = "<!DOCTYPE gpx [<!ENTITY a \"b\">]><gpx>" + points + "</gpx>";
  EXPECT_TRUE(Contains(FailureOf([&] { read(entities); }, Failure::Reason::Failed), "a document type"));
}

/// The simulation's log and its GPX file have the same fixes; the log has them in the receiver's own words.
TEST_F(GpxFileTest, HasThePlacesOfTheLog) {
  const std::string run = "$K run m --dry-run --json -q --no-sharpness --trajectory m/rover.gpx";
  ASSERT_EQ(Shell("$K simulate m -q --no-faults --minutes 2 --photo-size 16x16 --gpx\n" + run +
                  " --trajectory m/trajectory.nmea"),
            0)
      << Errors();
  const Json comparison = Json::parse(temp_.Read("out"))["trajectoryComparison"];
  EXPECT_EQ(comparison["used"], "m/trajectory.nmea");
  EXPECT_GT(comparison["compared"], 1000);
  EXPECT_LT(comparison["horizontal"]["largestMetres"], 0.001) << comparison;  // as finely as the log has them
  EXPECT_LT(comparison["vertical"]["largestMetres"], 0.002) << comparison;
  EXPECT_EQ(Shell(run), 0) << Errors();
  EXPECT_EQ(Shell("sed -i 's/<geoidheight>.*<.geoidheight>//' m/rover.gpx\n" + run), 4) << Errors();
  EXPECT_EQ(CountOf(Json::parse(temp_.Read("out")), "track-heights-unknown"), 1u);
  EXPECT_EQ(Shell(run + " --trajectory m/trajectory.nmea"), 0) << "the heights of the other decide nothing" << Errors();
}

}  // namespace
}  // namespace kv::mission
