// Places the camera events of a mission: locate_events TRAJECTORY EVENTS YYMMDD
// Prints one line per camera event: camera, latitude, longitude, ellipsoidal height.

#include <KVUtilities.h>

#include <cstdio>
#include <exception>
#include <string>

namespace {

std::wstring Wide(const char* ascii) { return {ascii, ascii + std::char_traits<char>::length(ascii)}; }

int LocateEvents(const std::wstring& trajectoryPath, const std::wstring& eventsPath, const std::wstring& date) {
  std::wstring error;
  // Noon, so that the scanner follows every midnight of the mission.
  const SYSTEMTIME noon = KVUtilities::GetSystemTimeFromYYMMDD_HHMMSS(date + L"_120000", error);
  const FILETIME start = KVUtilities::AddSecondsToFileTime(
      {}, KVUtilities::DeltaSecondsBetweenSystemTimes(noon, SYSTEMTIME{1601, 1, 1, 1, 0, 0, 0, 0}));

  auto trajectory = KVUtilities::ScanKVTrajectoryFile(trajectoryPath, start, error);
  auto events = KVUtilities::ScanKVSystemEventFile(eventsPath, error);
  if (error.empty()) KVUtilities::PopulateSystemEventLocationsUsingTrajectory(events, trajectory, error);
  if (!error.empty()) {
    std::fprintf(stderr, "%ls\n", error.c_str());
    return 1;
  }

  int heartbeats = 0, unplaced = 0;
  KVUtilities::RemoveSystemEventsAtNullLocation(events, heartbeats, unplaced, error);
  for (const tagKVSystemEvent& event : events) {
    if (event.Type != 2) continue;
    std::printf("%d %.8f %.8f %.3f\n", event.CameraID, event.Latitude, event.Longitude, event.Altitude);
  }
  std::fprintf(stderr, "%d camera events without a place\n", unplaced);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: locate_events TRAJECTORY EVENTS YYMMDD\n");
    return 2;
  }
  try {
    return LocateEvents(Wide(argv[1]), Wide(argv[2]), Wide(argv[3]));
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
    return 1;
  }
}
