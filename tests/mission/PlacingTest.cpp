#include "mission/Steps.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "mission/inputs/EventFile.h"
#include "mission/inputs/Trajectory.h"
#include "support/TempFolder.h"
#include "support/TestJob.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

TEST(Placing, NamesTheReasonForEveryDrop) {
  const TempFolder folder;
  std::string track;
  for (const char* row : {"120002 E", "120004 E", "120006 E", "120008 W", "120014 W"})
    track += "$GPGGA," + std::string(row, 6) + ",4807.038,N,17959.999," + row[7] + ",1,08,0.9,545.4,M,46.9,M,,\n";
  folder.Write("log", track);
  // A tick is a millisecond; the counter wraps 5 s after noon.
  folder.Write("clock",
               "4294962296,120000010524\n4294962295,1\n4294963296,1\n4294965296,1\n4294965297,1\n500,2\n2000,1\n"
               "4000,1\n12000,1\n15000,120020010524\n");
  TestJob job;
  Mission mission;
  mission.settings.camera1 = "cam1";
  mission.trajectory = ReadTrajectoryFile(folder.Path() / "log", {ParseDate("2024-05-01"), {}}, 2.0, job);
  auto& events = mission.events.emplace(ReadEventFile(folder.Path() / "clock", job)).events;
  TrajectoryIndex index(mission.trajectory->fixes);
  PlaceEvents(events, *mission.trajectory, index, job);
  EXPECT_EQ(job.Warnings().back(), "2 camera events inside trajectory gaps or across the 180th meridian: dropped");
  events[3].PhotoPath = L"/cam1/a.jpg";
  PhotosOfEvents photos(events.size());
  photos[3].differenceSeconds = -0.25;
  std::vector<std::string> exposures;
  for (const Exposure& exposure : ExposuresOf(events, photos, mission, *mission.trajectory)) {
    exposures.push_back(fmt::format("{} {:.0f} {} {}", exposure.event.CameraID, exposure.event.MasterTick,
                                    exposure.time ? TimeText(*exposure.time).substr(17) : "-",
                                    exposure.drop ? TextOf(*exposure.drop) : "stays"));
    EXPECT_EQ(exposure.photoDifferenceSeconds, exposure.drop ? std::nullopt : std::optional(-0.25));
  }
  EXPECT_EQ(exposures,
            (std::vector<std::string>{
                "1 4294962295 - no time: the heartbeats do not reach its tick",
                "1 4294963296 01.000 no place: before the first fix", "1 4294965296 03.000 stays",
                "1 4294965297 03.001 no photo", "2 500 05.500 no photo: no folder for this camera",
                "1 2000 07.000 no place: between two fixes across the 180th meridian",
                "1 4000 09.000 no place: inside a gap of 6.0 s", "1 12000 17.000 no place: after the last fix"}));
  EXPECT_EQ(events.size(), 2u);  // heartbeats
}

TEST(Placing, SaysWhyTheClockGivesNoTime) {
  struct {
    const char *file, *reason;
  } const rows[] = {
      {"0,120000010524\n5,1\n", "no time: fewer than two heartbeats"},
      {"7,120000010524\n7,1\n7,120010010524\n",
       "no time: the first and the last heartbeat do not tell how long a tick is"},
      {"5,1\n10,120000010524\n20,120010010524\n", "no time: the heartbeats do not reach its tick"},
      {"0,120000010524\n2,120002010524\n4,120004010524\n6,120006010524\n8,120008010524\n10,120010010524\n"
       "12,120012010524\n14,120014010524\n16,120017010524\n17,1\n",
       "no time: the heartbeats next to it are wrong"},
  };
  for (const auto& [file, reason] : rows) {
    const TempFolder folder;
    folder.Write("clock", file);
    TestJob job;
    Mission mission;
    auto& events = mission.events.emplace(ReadEventFile(folder.Path() / "clock", job)).events;
    const auto exposures = ExposuresOf(events, PhotosOfEvents(events.size()), mission, {});
    ASSERT_EQ(exposures.size(), 1u) << file;
    EXPECT_EQ(exposures[0].drop ? TextOf(*exposures[0].drop) : "stays", reason) << file;
  }
}

}  // namespace
}  // namespace kv::mission
