#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "base/Failure.h"
#include "mission/MissionFolder.h"
#include "mission/inputs/EventFile.h"
#include "mission/inputs/FileKind.h"
#include "mission/inputs/HousekeepingLog.h"
#include "support/TempFolder.h"

namespace kv::mission {
namespace {

constexpr const char* kFix = "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n";
constexpr const char* kHeartbeat12 = "5000,120000010124\r\n";

template <typename Action>
std::string FailureOf(Action action, ExitCode code) {
  try {
    action();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Code(), code) << failure.what();
    return failure.what();
  }
  return "";
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(FileKind, IsToldByContent) {
  struct {
    std::string head;
    FileKind kind;
  } const rows[] = {
      {kFix, FileKind::Trajectory},
      {"# a comment\n# another\n$GPZDA,193913.00,07,09,2018,00,00*63\n", FileKind::Trajectory},
      {std::string("4000,1\r\n") + kHeartbeat12, FileKind::Events},
      {"1,2\n3,4\n", FileKind::Unknown},
      {"camera,tick,utc\n1,2,3\n", FileKind::Unknown},
      {"INFO,2024-05-01 12:00:00,CCU,31.5\r\n", FileKind::HousekeepingLog},
      {"1,2024-05-01 12:00:00,CCU,31.5\nx,2024-05-01,CCU\nx,2024-05-01 12:00:00\n", FileKind::Unknown},
      {"\xFF\xD8\xFF\xE1 Exif", FileKind::Jpeg},
      {std::string("\0\0\x27\x0A\0\0", 6), FileKind::Shapefile},
      {std::string(5000, '\0'), FileKind::Unknown},
      {"", FileKind::Unknown},
  };
  for (const auto& [head, kind] : rows) EXPECT_EQ(KindOfContent(head), kind) << head.substr(0, 40);
}

TEST(MissionFolder, IsSearchedByContentAndFolderName) {
  const TempFolder folder;
  folder.Write("log.txt", kFix);
  folder.Write("data.csv", kHeartbeat12);
  folder.Write("box", "INFO,2024-05-01 12:00:00,CCU,31.5\n");
  folder.Write("notes.md", "flown in rain\n");
  for (const char* name : {"CAMERA1", "Cam2", "cam3"}) std::filesystem::create_directory(folder.Path() / name);
  Log log(Verbosity::Quiet);
  Settings settings;
  settings.camera2 = "elsewhere";
  FindMissionFiles(folder.Path(), settings, log);
  EXPECT_EQ(settings.trajectory, folder.Path() / "log.txt");
  EXPECT_EQ(settings.events, folder.Path() / "data.csv");
  EXPECT_EQ(settings.log, folder.Path() / "box");
  EXPECT_EQ(settings.camera1, folder.Path() / "CAMERA1");
  EXPECT_EQ(settings.camera2, "elsewhere");

  const std::string reading = "2024-05-01 12:00:00,31.5,2,0,1,3,0,0\n";
  folder.Write("a.aos", reading), folder.Write("b.aos", reading);
  Settings twins, different;
  FindMissionFiles(folder.Path(), twins, log);
  EXPECT_EQ(twins.aos, folder.Path() / "a.aos");
  folder.Write("b.aos", reading + reading);
  FindMissionFiles(folder.Path(), different, log);
  EXPECT_EQ(different.aos, std::nullopt);
  EXPECT_TRUE(Contains(log.Warnings().back(), "a.aos, b.aos; choose with --aos"));

  folder.Write("copy.txt", kFix);
  Settings open;
  const std::string failure = FailureOf([&] { FindMissionFiles(folder.Path(), open, log); }, ExitCode::Failed);
  EXPECT_TRUE(Contains(failure, "copy.txt, log.txt; choose with --trajectory")) << failure;
}

TEST(MissionToml, SettlesWhatTheCommandLineLeavesOpen) {
  const TempFolder folder;
  folder.Write("mission.toml",
               "trajectory = 'rover.nmea'\ndate = 2024-05-01\ncam1-offset = -2\nmax-gap = 0.5\npair = 'order'\nlog = "
               "'a'\nblur-factor = 0.1\n");
  Settings settings;
  settings.camera1Offset = 1.5;
  FillIn(settings, ReadMissionToml(folder.Path() / "mission.toml"));
  EXPECT_EQ(settings.trajectory, folder.Path() / "rover.nmea");
  EXPECT_EQ(DateText(settings.date.value()), "2024-05-01");
  EXPECT_EQ(settings.camera1Offset, 1.5);
  EXPECT_EQ(settings.maxGap, 0.5);
  EXPECT_EQ(settings.pair, PairChoice::Order);
  EXPECT_EQ(settings.log, folder.Path() / "a");
  EXPECT_EQ(settings.blurFactor.value().value, 0.1);
}

TEST(MissionToml, NamesLineAndKeyOfAFault) {
  struct {
    const char* content;
    const char* part;
  } const rows[] = {
      {"\ncamera1 = 'x'", "line 2: unknown key \"camera1\""},
      {"cam1 = 5", "line 1: cam1 must be a string"},
      {"max-gap = '2'", "max-gap must be a number"},
      {"cam1-offset = nan", "cam1-offset must be a number of seconds"},
      {"date = 5", "date must be a date"},
      {"date = '2024-02-30'", "date must be a date YYYY-MM-DD"},
      {"pair = 'both'", "pair must be order, time or auto"},
      {"pair = ", "line 1"},
      {"\nmax-gap = 0", "mission.toml: line 2: max-gap must be positive"},
      {"tolerance = -1", "mission.toml: line 1: tolerance must not be negative"},
      {"log = 'a'\ncam1 = \"a\\u0000b\"", "line 2: cam1 must be a path"},
      {"events = '\xFF'", "line 1"},
  };
  const TempFolder folder;
  for (const auto& [content, part] : rows) {
    folder.Write("mission.toml", content);
    const auto failure = FailureOf([&] { ReadMissionToml(folder.Path() / "mission.toml"); }, ExitCode::WrongUsage);
    EXPECT_TRUE(Contains(failure, part)) << content << ": " << failure;
  }
}

TEST(EventLog, SeesLinesAsTheReaderWill) {
  struct {
    const char* line;
    EventKind kind;
    const char* time;  // of a heartbeat
  } const rows[] = {
      {"5000,120000010124", EventKind::Heartbeat, "2024-01-01T12:00:00.000Z"},
      {",5000,,120000310224,x", EventKind::Heartbeat, "2024-03-02T12:00:00.000Z"},
      {"5000,120000011324", EventKind::FaultyHeartbeat, ""},
      {"5000,250000010124", EventKind::FaultyHeartbeat, ""},
      {"5000,120000000124", EventKind::FaultyHeartbeat, ""},
      {"123,4", EventKind::CameraEvent, ""},
      {"+123,-1", EventKind::CameraEvent, ""},
      {"123,000000000005", EventKind::CameraEvent, ""},
      {"123,1 \t", EventKind::CameraEvent, ""},
      {"123,11", EventKind::Other, ""},
      {"5000,, 4", EventKind::Other, ""},
      {"9223372036854775808,1", EventKind::Other, ""},
      {"5000", EventKind::Other, ""},
      {"", EventKind::Other, ""},
  };
  for (const auto& [line, kind, time] : rows) {
    const EventLine event = ParseEventLine(line);
    EXPECT_EQ(event.kind, kind) << line;
    EXPECT_EQ(event.time ? IsoText(*event.time) : "", time) << line;
  }
}

/// What a file's fault makes of it: the times of its camera events and a part of each warning.
TEST(EventLog, WarnsOfWhatTheReaderWouldPassOver) {
  struct {
    const char* content;
    std::vector<std::string> times;  // of the camera events; "-" for none
    std::vector<const char*> warnings;
  } const rows[] = {
      {"0,120000010124\n1500000,1\n10000000,120010010124\n", {"12:00:01.500"}, {}},
      {"5,1\n10,120000010124\n12,2\n20,120010010124\n", {"-", "12:00:02.000"}, {"1 camera event before the first"}},
      {"0,120000010124\n1,1\n", {"-"}, {"1 heartbeat: without two"}},
      {"0,120000010124\n5,1\n5,120005011324\n10,120010010124\n",
       {"12:00:05.000"},
       {"1 heartbeat left out: no valid date and time, line 3"}},
      // Across the counter's end: 10 s after 4294000000 the 1 MHz counter is at 9032704.
      {"4294000000,120000010124\n4295,1\n9032704,120010010124\n", {"12:00:00.971"}, {"wraps 1 time"}},
      {"0,120000010124\n1500020000,1\n2000000000,120010010124\n", {"12:00:07.500"}, {}},
      {"0,120000010124\n8,1\n7,1\n10,120010010124\n", {"12:00:08.000", "12:00:07.000"}, {"runs backwards"}},
      {"0,120000010124\n5,130005010124\n10,120010010124\n", {}, {"that of 2024-01-01 13:00:05.000 is 3600.0 s off"}},
      {"7,120000010124\n7,1\n7,120010010124\n", {"-"}, {"do not tell how long a tick is"}},
      {"0,120000010124\n5,3\n10,120010010124\n", {"12:00:05.000"}, {"1 event of other cameras"}},
      {"\xEF\xBB\xBF"
       "0,120000010124\n\n5,1 \n6;1\n10,120010010124\n",
       {"12:00:05.000"},
       {"1 line left out: no event, line 4"}},
      {"0,120000010124\n5,1\n4000000000,1\n6,1\n10,120010010124\n",
       {"12:00:05.000", "12:00:06.000"},
       {"1 camera event left out: the tick is far from those before and after, line 3"}},
      {"0,120000010124\n5,1\n4000000000,120006010124\n10,120010010124\n",
       {"12:00:05.000"},
       {"1 heartbeat left out: the tick is far from those before and after, line 3"}},
      // An outage of 3 000 s of a 1 MHz counter.
      {"0,120000010124\n1500000,1\n3000000000,125000010124\n3001500000,1\n", {"12:00:01.500", "12:50:01.500"}, {}},
      // The first and the last heartbeat are wrong; the events next to them have no other.
      {"0,000000060180\n1,1\n2,120002010124\n3,1\n4,120004010124\n6,120006010124\n8,120008010124\n"
       "10,120010010124\n12,120012010124\n14,120014010124\n15,1\n16,120017010124\n17,1\n",
       {"-", "12:00:03.000", "12:00:15.000", "-"},
       {"2 heartbeats left out: more than 0.5 s off the others, line 1, 12", "1 camera event before the first"}},
  };
  for (const auto& [content, times, warnings] : rows) {
    const TempFolder folder;
    folder.Write("events.txt", content);
    Log log(Verbosity::Quiet);
    const EventLog events = ReadEvents(folder.Path() / "events.txt", folder.Path(), log);
    std::vector<std::string> read;
    for (const auto& event : events.events) {
      if (event.Type == kCameraEvent)
        read.push_back(HasTime(event) ? TimeText(FromFileTime(event.TimeUTC)).substr(11) : "-");
    }
    EXPECT_EQ(read, times) << content;
    ASSERT_EQ(log.Warnings().size(), warnings.size()) << content << log.Warnings()[0];
    for (std::size_t i = 0; i < warnings.size(); ++i)
      EXPECT_TRUE(Contains(log.Warnings()[i], warnings[i])) << content << log.Warnings()[i];
  }
}

TEST(HousekeepingLog, WarnsOfWhatTheScanLeavesOutOrTakes) {
  const std::string entry = "INFO,2024-05-01 12:00:00,CCU,";
  struct {
    std::string content;
    std::size_t entries;
    std::vector<const char*> warnings;
  } const rows[] = {
      {entry + "1\r\n\r\n" + entry + "2", 2, {}},
      {entry + "1\nINFO,2024-05-01 12:00:00\n,,a,b\n" + entry + "2\n", 2, {"2 lines skipped"}},
      {entry + std::string(1023 - entry.size(), '1') + "\r\n" + entry + "2\n",
       2,
       {"1 reading that is no finite number"}},
      {entry + "1\n\n" + entry + std::string(1024 - entry.size(), 'x') + "\n" + entry + "2\n", 1, {"line 3 has 1024"}},
      {"INFO,2023-02-29 12:00:00,CCU,1\nA,B,C\n" + entry + "1\n",
       3,
       {"2 entries without a valid date and time, line 1, 2:"}},
      {entry + "1\n" + entry + "2\x1A" + entry + "3\n", 2, {}},  // Ctrl-Z ends the text, within a line too
      {entry + "1\nA,2024-05-01 12:00:00,\r", 2, {}},            // a CR without a LF ends no line and is a field
      {entry + "1\n" + entry + "on\nI,2024-05-01 12:00:00,POWER,n/a,inf,12.5,nan, 90 \n",
       3,
       {"4 readings that are no finite number, first in line 2"}},
  };
  const TempFolder folder;
  for (const auto& [content, entries, warnings] : rows) {
    folder.Write("input", content);
    Log log(Verbosity::Quiet);
    EXPECT_EQ(ReadHousekeepingLog(folder.Path() / "input", folder.Path(), log).events.size(), entries) << content;
    ASSERT_EQ(log.Warnings().size(), warnings.size()) << content;
    for (std::size_t i = 0; i < warnings.size(); ++i)
      EXPECT_TRUE(Contains(log.Warnings()[i], warnings[i])) << content << log.Warnings()[i];
  }
  // Of the last row's readings, those that are numbers.
  Log log(Verbosity::Quiet);
  std::vector<std::pair<std::string, double>> lowest;
  for (const auto& range : ReadHousekeepingLog(folder.Path() / "input", folder.Path(), log).readings)
    lowest.emplace_back(range.name->key, range.lowest.value);
  EXPECT_EQ(lowest,
            (decltype(lowest){{"controlUnitTemperature", 1}, {"batteryVoltage", 12.5}, {"batteryPercent", 90}}));
}

}  // namespace
}  // namespace kv::mission
