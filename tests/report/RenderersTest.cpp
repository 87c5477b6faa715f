#include <KVMission.h>
#include <gtest/gtest.h>

#include "platform/FileNames.h"

namespace KVMission {
namespace {

constexpr Date kDate{Date::duration{19844}};  // 2024-05-01
constexpr Instant kTime = Instant(kDate) + std::chrono::milliseconds{45'296'789};

Mission SmallMission() {
  Mission mission;
  mission.settings.trajectory = "t.nmea";
  Trajectory& trajectory = mission.trajectory.emplace();
  trajectory.date = kDate, trajectory.first = trajectory.last = kTime;
  trajectory.counts.lines = 705, trajectory.counts.kinds = {1, 0, 0, 0, 0, 0, 704, 0};
  mission.events.emplace();
  Camera& camera = mission.cameras.emplace_back();
  camera.number = 1, camera.read = 3, camera.dropped = 2;
  Exposure exposure;
  exposure.event.CameraID = 1;
  exposure.event.MasterTick = 9223372036854775808.0;  // 2^63 is not a whole number of 64 bits
  exposure.drop = Drop{DropCode::InsideGap, 12};
  mission.exposures.push_back(exposure);
  exposure.event.MasterTick = 4294967295.0, exposure.time = kTime, exposure.drop = Drop{DropCode::NoPhoto};
  mission.exposures.push_back(exposure);
  mission.findings = {{"noted", Severity::Note, {}, {}, "a note"},
                      {"warned",
                       Severity::Warning,
                       {kv::PathFromText("x\xFF"), 3, 2, "a.jpg"},
                       {{"at", kTime}, {"count", std::int64_t{2}}},
                       "first"},
                      {"doubted", Severity::Doubt, {}, {{"share", 1.0}}, "second"}};
  return mission;
}

TEST(Summary, HasForms) {
  const std::string json = SummaryJson(SmallMission()), text = SummaryText(SmallMission());
  struct {
    const std::string& page;
    const char* part;
    bool isThere;
  } const rows[] = {
      {json, "\"tick\": 9.223372036854776e+18,", true},
      {json, "\"tick\": 4294967295,", true},
      {json, "\"time\": null,\n      \"code\": \"inside-gap\",\n      \"reason\": \"no place: inside a gap of 12.0 s\"",
       true},
      {json, "\"time\": \"2024-05-01T12:34:56.789Z\",\n      \"code\": \"no-photo\"", true},
      {json, "\"heartbeats\": {\n      \"read\": 0,\n      \"placed\": 0", true},
      {json, "\"file\": \"x\xEF\xBF\xBD\",\n      \"line\": 3,\n      \"camera\": 2,\n      \"photo\": \"a.jpg\"",
       true},
      {json, "\"at\": \"2024-05-01T12:34:56.789Z\",\n        \"count\": 2\n", true},
      {json, "\"severity\": \"doubt\",\n      \"values\": {\n        \"share\": 1.0", true},
      {json, "a note", false},
      {text, "704 lines that are not NMEA sentences", true},
      {text, "3 read, 0 placed, 0 paired, 2 dropped, 1 in the layer\n", true},
      {text, "camera 1, tick 4294967295, 2024-05-01 12:34:56.789: no photo\n", true},
      {text, "doubt: second\nTrajectory", true},
      {text, "1 warning: see the JSON summary\n", true},
      {text, "a note", false},
  };
  for (const auto& [page, part, isThere] : rows)
    EXPECT_EQ(page.find(part) != page.npos, isThere) << part << '\n' << page;
}

TEST(Description, KeepsWhatIsNotKnownOpen) {
  Trajectory undated = *SmallMission().trajectory;
  undated.date.reset();
  ApplanixExport withoutDate;
  withoutDate.isDated = false, withoutDate.span = {kTime, kTime};
  struct {
    FileDescription description;
    const char* part;
  } const rows[] = {
      {{"f", "k", {}, undated, 2, {}}, "  date: unknown\n  date source: unknown\n  first: 12:34:56.789\n"},
      {{"f", "k", {}, withoutDate, 2, {}}, "  first: unknown\n  last: unknown\n"},
      {{"f", "k", 3, HousekeepingLog(), 2, {}}, "  bytes: 3\n  lines: 0\n  lines skipped: 0\n  faulty dates: 0\n"},
      {{"f", "k", {}, {}, 2, SmallMission().findings}, "k\n  findings:\n    - warning: first\n    - doubt: second\n"},
  };
  for (const auto& [description, part] : rows) {
    const std::string text = DescriptionText(description);
    EXPECT_NE(text.find(part), text.npos) << part << '\n' << text;
  }
}

}  // namespace
}  // namespace KVMission
