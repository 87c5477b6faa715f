// Places the camera events of a mission: locate_events TRAJECTORY EVENTS [YYYY-MM-DD]
// Prints one line per camera event: camera, latitude, longitude, ellipsoidal height.
#include <KVMission.h>
#include <KVUtilities.h>

#include <cstdio>
#include <exception>

int main(int argc, char** argv) try {
  if (argc < 3 || argc > 4) {
    std::fprintf(stderr, "usage: locate_events TRAJECTORY EVENTS [YYYY-MM-DD]\n");
    return 2;
  }
  // The careful engine reads the receiver log, whatever else is in it; the strict class does the single steps.
  KVMission::Settings settings;
  if (argc == 4) KVMission::Set(settings, "date", argv[3]);  // for a log that does not tell its date
  KVMission::Observer observer;
  auto trajectory = KVMission::ReadTrajectory(argv[1], {settings.date, settings.maxGapSeconds}, observer);
  std::wstring error;
  auto events = KVUtilities::ScanKVSystemEventFile(std::filesystem::path(argv[2]).wstring(), error);
  if (error.empty()) KVUtilities::PopulateSystemEventLocationsUsingTrajectory(events, trajectory.fixes, error);
  if (!error.empty()) {
    std::fprintf(stderr, "%ls\n", error.c_str());
    return 1;
  }

  int heartbeats = 0, unplaced = 0;
  KVUtilities::RemoveSystemEventsAtNullLocation(events, heartbeats, unplaced, error);
  for (const tagKVSystemEvent& event : events) {
    if (event.Type == 2)
      std::printf("%d %.8f %.8f %.3f\n", event.CameraID, event.Latitude, event.Longitude, event.Altitude);
  }
  std::fprintf(stderr, "%d camera events without a place\n", unplaced);
  return 0;
} catch (const std::exception& exception) {
  std::fprintf(stderr, "%s\n", exception.what());
  return 1;
}
