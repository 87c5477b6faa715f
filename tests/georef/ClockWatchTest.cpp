#include "georef/ClockWatch.h"

#include <gtest/gtest.h>

#include "KVRecords.h"
#include "support/Times.h"

namespace {

// Continuous ticks of a microsecond: nothing was written for 5000 s. A step of which nothing is said is a wrap.
TEST(ClockWatch, ABridgedOutageIsNotAWrap) {
  for (const bool bridged : {true, false}) {
    std::vector<tagKVSystemEvent> events(2);
    events[0].MasterTick = 2.5e6;
    events[1].MasterTick = 5'005.5e6;
    kv::ClockWatch clock;
    clock.Heartbeat(1e6, UtcTime(2024, 1, 1, 12));
    clock.Stamp(events[0].MasterTick);
    if (bridged) clock.Bridge(events[1].MasterTick);
    clock.Stamp(events[1].MasterTick);
    clock.Heartbeat(5'006e6, UtcTime(2024, 1, 1, 13, 23, 25));
    EXPECT_TRUE(clock.SetTimes(events, [](const auto&) { return true; }));
    EXPECT_EQ(SameInstant(events[0].SystemTimeUTC, Calendar(2024, 1, 1, 12, 0, 1, 500)), bridged);
    EXPECT_EQ(SameInstant(events[1].SystemTimeUTC, Calendar(2024, 1, 1, 13, 23, 24, 500)), bridged);
  }
}

}  // namespace
