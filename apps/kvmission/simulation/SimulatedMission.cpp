#include "simulation/SimulatedMission.h"

#include "simulation/EventFile.h"
#include "simulation/HousekeepingLog.h"
#include "simulation/PhotoFiles.h"
#include "simulation/TrajectoryFile.h"
#include "simulation/TruthFile.h"

namespace kv::simulation {

std::vector<Exposure> WriteMission(const std::filesystem::path& folder, const MissionOptions& options,
                                   mission::Progress& progress) {
  const FlightPath flight(static_cast<double>(options.duration.count()), Random(options.seed, Stream::Flight));
  const MasterClock clock(options.duration, Random(options.seed, Stream::Clock));
  std::vector<Exposure> exposures = PlanExposures(options, flight, Random(options.seed, Stream::Cameras));

  const std::filesystem::path truth = folder / "truth.csv";
  std::filesystem::create_directories(folder);
  RemovePhotosOfTruthFile(truth);
  WriteTruthFile(truth, options, flight, clock, exposures);  // first, so that it names every photo that there may be
  WriteEventFile(folder / "events.txt", options, clock, exposures);
  WriteTrajectoryFile(folder / "trajectory.nmea", options, flight);
  WriteHousekeepingLog(folder / "housekeeping.log", options, flight, exposures);
  if (options.photos) {
    for (const int camera : {1, 2}) std::filesystem::create_directories(CameraFolder(folder, camera));
  }
  WritePhotos(folder, options, flight, exposures, progress);
  return exposures;
}

}  // namespace kv::simulation
