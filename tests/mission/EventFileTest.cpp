#include "mission/inputs/EventFile.h"

#include <gtest/gtest.h>

#include "georef/EventTypes.h"
#include "support/TempFolder.h"
#include "support/TestJob.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

TEST(EventFile, SeesLinesAsTheReaderWill) {
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
    LocalCalendar calendar(Calendar::Utc);
    const ClassifiedEvent read = ClassifyEvent(line, calendar);
    EXPECT_EQ(read.kind, kind) << line;
    EXPECT_EQ(read.time ? IsoText(*read.time) : "", time) << line;
  }
}

/// What a file's fault makes of it: the times of its camera events and a part of each warning.
TEST(EventFile, TellsWhatIsLeftOutOrDoubtful) {
  struct {
    const char* content;
    std::vector<std::string> times;  // of the camera events; "-" for none
    std::vector<const char*> warnings;
  } const rows[] = {
      {"0,120000010124\n1500000,1\n10000000,120010010124\n", {"12:00:01.500"}, {}},
      {"5,1\n10,120000010124\n12,2\n20,120010010124\n",
       {"-", "12:00:02.000"},
       {"1 camera event before the first heartbeat: time unknown"}},
      {"0,120000010124\n1,1\n", {"-"}, {"1 heartbeat: camera events have no time without two of them"}},
      {"0,120000010124\n5,1\n5,120005011324\n10,120010010124\n",
       {"12:00:05.000"},
       {"events: 1 heartbeat left out, without a valid date and time: line 3"}},
      // Across the counter's end: 10 s after 4294000000 the 1 MHz counter is at 9032704.
      {"4294000000,120000010124\n4295,1\n9032704,120010010124\n", {"12:00:00.971"}, {"wraps 1 time"}},
      {"0,120000010124\n1500020000,1\n2000000000,120010010124\n", {"12:00:07.500"}, {}},
      {"0,120000010124\n8,1\n7,1\n10,120010010124\n",
       {"12:00:08.000", "12:00:07.000"},
       {"runs back, first from 8 to 7"}},
      {"0,120000010124\n5,130005010124\n10,120010010124\n", {}, {"that of 2024-01-01 13:00:05.000 is 3600.0 s off"}},
      {"7,120000010124\n7,1\n7,120010010124\n", {"-"}, {"do not tell how long a tick is"}},
      {"0,120000010124\n5,3\n10,120010010124\n",
       {"12:00:05.000"},
       {"1 event of cameras other than 1 and 2: taken for camera 2"}},
      {"\xEF\xBB\xBF"
       "0,120000010124\n\n5,1 \n6;1\n10,120010010124\n",
       {"12:00:05.000"},
       {"events: 1 line left out, not an event: line 4"}},
      {"0,120000010124\n5,1\n4000000000,1\n6,1\n10,120010010124\n",
       {"12:00:05.000", "12:00:06.000"},
       {"events: 1 camera event left out, tick far from those before and after: line 3"}},
      {"0,120000010124\n5,1\n4000000000,120006010124\n10,120010010124\n",
       {"12:00:05.000"},
       {"events: 1 heartbeat left out, tick far from those before and after: line 3"}},
      // An outage of 3 000 s of a 1 MHz counter.
      {"0,120000010124\n1500000,1\n3000000000,125000010124\n3001500000,1\n", {"12:00:01.500", "12:50:01.500"}, {}},
      // The first and the last heartbeat are wrong; the events next to them have no other.
      {"0,000000060180\n1,1\n2,120002010124\n3,1\n4,120004010124\n6,120006010124\n8,120008010124\n"
       "10,120010010124\n12,120012010124\n14,120014010124\n15,1\n16,120017010124\n17,1\n",
       {"-", "12:00:03.000", "12:00:15.000", "-"},
       {"events: 2 heartbeats left out, more than 0.5 s off the others: line 1, 12",
        "1 camera event before the first heartbeat: time unknown"}},
      // A wrong one after a pause: all others are near the line to it.
      {"0,120000010124\n1,120001010124\n2,120002010124\n3,120003010124\n4,120004010124\n5,1\n5,120005010124\n"
       "6,120006010124\n7,120007010124\n8,120008010124\n9,120009010124\n1000,121643010124\n",
       {"12:00:05.000"},
       {"events: 1 heartbeat left out, more than 0.5 s off the others: line 12"}},
  };
  for (const auto& [content, times, warnings] : rows) {
    const TempFolder folder;
    folder.Write("events.txt", content);
    TestJob job;
    const EventFile events = ReadEventFile(folder.Path() / "events.txt", job);
    std::vector<std::string> read;
    for (const auto& event : events.events) {
      if (event.Type == kCameraEvent)
        read.push_back(HasTime(event) ? TimeText(FromFileTime(event.TimeUTC)).substr(11) : "-");
    }
    EXPECT_EQ(read, times) << content;
    ExpectParts(job.Warnings(), warnings, content);
  }
}

}  // namespace
}  // namespace kv::mission
