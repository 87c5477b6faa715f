#include <gtest/gtest.h>

#include "georef/EventTypes.h"
#include "mission/Steps.h"
#include "support/TestJob.h"

namespace kv::mission {
namespace {

constexpr double kDegreesNorth = 1 / 111'180.0;  // per metre at 48 degrees

/// One fix a second from 1 to 4, going east at 5 m/s.
Trajectory EastwardTrack() {
  Trajectory trajectory;
  for (int second = 1; second <= 4; ++second) {
    tagKVTrajectoryObs& fix = trajectory.fixes.emplace_back();
    fix.AdjGpsSec = second;
    fix.Latitude = 48, fix.Longitude = 15 + second * 5 / 74'600.0;
  }
  return trajectory;
}

tagKVAosEvent ReadingAt(double second, double heading, int error = 0) {
  tagKVAosEvent reading;
  reading.AdjGpsSec = second, reading.Heading = heading, reading.SysError = error;
  reading.TimeUTC = {1, 1};
  return reading;
}

tagKVPosEvent SampleAt(double second, double heading) {
  tagKVPosEvent sample;
  sample.AdjGpsSec = second, sample.Value3 = heading;
  return sample;
}

/// Two exposures of each camera, at seconds 2 and 3; camera 1 is a metre ahead of the antenna.
Mission WithExposures() {
  Mission mission;
  mission.settings.camera1LeverArm = {1, 0, 0};
  for (const int camera : {1, 2}) {
    for (const double second : {2.0, 3.0}) {
      tagKVSystemEvent& event = mission.exposures.emplace_back().event;
      event.CameraID = camera, event.AdjGpsSec = second;
      event.Latitude = 48, event.Longitude = 15;
    }
  }
  return mission;
}

/// The words of the exposures, and "moved", "stays" or "dropped".
std::string Outcome(const Mission& mission) {
  std::string outcome;
  for (const Exposure& exposure : mission.exposures) {
    const std::wstring& word = exposure.event.ORIQuality;
    const tagKVSystemEvent& event = exposure.event;
    const bool isMoved = event.Latitude != 48 || event.Longitude != 15;
    outcome += std::string(word.begin(), word.end()) + (exposure.drop && !IsPlaced(event) ? " dropped, "
                                                        : isMoved                         ? " moved, "
                                                                                          : " stays, ");
  }
  return outcome;
}

TEST(CameraPlaces, TakeTheBestAttitudeThereIs) {
  const std::vector<Attitude> north(4);
  struct {
    const char* what;
    std::vector<Attitude> attitudes;      // of the fixes
    std::vector<tagKVPosEvent> samples;   // of an Applanix export
    std::vector<tagKVAosEvent> readings;  // of the orientation file
    bool fromTrack;
    const char *source, *outcome;
    std::vector<const char*> warnings;
  } const rows[] = {
      {"the trajectory's own before others",
       north,
       {SampleAt(2, 90)},
       {ReadingAt(2, 90)},
       true,
       "SBET file",
       "POSTPROCESSED moved, POSTPROCESSED moved, POSTPROCESSED stays, POSTPROCESSED stays, ",
       {}},
      {"an export beside it before the sensor",
       {},
       {SampleAt(1, 90), SampleAt(3, 90)},
       {ReadingAt(2, 1)},
       false,
       "Applanix export",
       "POSTPROCESSED moved, POSTPROCESSED moved, POSTPROCESSED stays, POSTPROCESSED stays, ",
       {}},
      {"an export without angles",
       {},
       {SampleAt(1, 0), SampleAt(3, 0)},
       {ReadingAt(2, 1), ReadingAt(3, 1)},
       false,
       "orientation file",
       "SENSOR moved, SENSOR moved, SENSOR stays, SENSOR stays, ",
       {}},
      {"not for all",
       {},
       {},
       {ReadingAt(1.9, 9), ReadingAt(2.1, 9), ReadingAt(5, 9)},
       false,
       "orientation file",
       "SENSOR moved, NONE dropped, SENSOR stays, NONE stays, ",
       {"camera 1: 1 exposure without attitude"}},
      {"for the others the track",
       {},
       {},
       {ReadingAt(1.9, 9), ReadingAt(2.1, 9)},
       true,
       "orientation file",
       "SENSOR moved, TRACK moved, SENSOR stays, TRACK stays, ",
       {"2 exposures without attitude: heading from"}},
      {"a sensor's error",
       {},
       {},
       {ReadingAt(2, 9, 7), ReadingAt(3, 9)},
       false,
       "orientation file",
       "NONE dropped, SENSOR moved, NONE stays, SENSOR stays, ",
       {"camera 1: 1 exposure without attitude"}},
      {"the track alone",
       {},
       {},
       {},
       true,
       "",
       "TRACK moved, TRACK moved, TRACK stays, TRACK stays, ",
       {"4 exposures without attitude: heading from"}},
  };
  for (const auto& row : rows) {
    Mission mission = WithExposures();
    Trajectory trajectory = EastwardTrack();
    trajectory.kind = "SBET file";
    trajectory.attitudes = row.attitudes;
    mission.applanix.emplace().samples = row.samples;
    mission.orientation.emplace().readings = row.readings;
    mission.settings.headingFromTrack = row.fromTrack;
    TestJob job;
    TrajectoryIndex index(trajectory.fixes);
    PlaceCameras(trajectory, index, mission, job);
    EXPECT_EQ(Outcome(mission), row.outcome) << row.what;
    EXPECT_EQ(mission.placeQuality.attitudeSource, row.source) << row.what;
    ExpectParts(job.Warnings(), row.warnings, row.what);
  }
}

TEST(CameraPlaces, LieAheadOfTheAntenna) {
  Mission mission = WithExposures();
  mission.orientation.emplace().readings = {ReadingAt(2, 0)};
  mission.settings.headingFromTrack = true;
  TestJob job;
  const Trajectory trajectory = EastwardTrack();
  TrajectoryIndex index(trajectory.fixes);
  PlaceCameras(trajectory, index, mission, job);
  EXPECT_NEAR((mission.exposures[0].event.Latitude - 48) / kDegreesNorth, 1, 1e-3);  // northward by the sensor
  EXPECT_NEAR((mission.exposures[1].event.Longitude - 15) * 74'600, 1, 2e-3);        // eastward by the track
}

TEST(CameraPlaces, NeedAttitudeForLeverArms) {
  struct {
    LeverArm first, second;
    bool fromTrack, hasReading;
    const char* refused;
  } const rows[] = {{{}, {}, false, false, ""},
                    {{0, 0, 1}, {}, false, false, "--cam1-lever-arm needs attitude"},
                    {{}, {0, 1, 0}, false, false, "--cam2-lever-arm needs attitude"},
                    {{}, {1, 0, 0}, true, false, ""},
                    {{1, 0, 0}, {}, false, true, ""}};
  for (const auto& [first, second, fromTrack, hasReading, refused] : rows) {
    Mission mission;
    mission.trajectory = EastwardTrack();
    mission.settings.camera1LeverArm = first, mission.settings.camera2LeverArm = second;
    mission.settings.headingFromTrack = fromTrack;
    if (hasReading) mission.orientation.emplace().readings = {ReadingAt(2, 9)};
    const std::string failure = FailureOf([&] { CheckLeverArms(mission); }, Failure::Reason::WrongUsage);
    EXPECT_EQ(failure.substr(0, failure.find(':')), refused);
  }
}

}  // namespace
}  // namespace kv::mission
