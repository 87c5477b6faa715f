#include "simulation/SimulatedMission.h"

#include "simulation/DroneTimestamps.h"
#include "simulation/EventFile.h"
#include "simulation/HousekeepingLog.h"
#include "simulation/OrientationFile.h"
#include "simulation/PhotoFiles.h"
#include "simulation/TrajectoryFile.h"
#include "simulation/TruthFile.h"

namespace kv::simulation {
namespace {

void WriteSensorFiles(const std::filesystem::path& folder, const MissionOptions& options, const FlightPath& flight,
                      const MasterClock& clock, const std::vector<Exposure>& exposures) {
  WriteEventFile(folder / kEventsName, options, clock, exposures);
  WriteTrajectoryFile(folder / kTrajectoryName, options, flight);
  WriteHousekeepingLog(folder / kHousekeepingName, options, flight, exposures);
  WriteOrientationFile(folder / kOrientationName, options, flight);
  if (!options.photos) return;
  for (const int camera : {1, 2}) std::filesystem::create_directories(CameraFolder(folder, camera));
}

}  // namespace

std::vector<Exposure> WriteMission(const std::filesystem::path& folder, const MissionOptions& options,
                                   mission::Progress& progress) {
  const FlightPath flight(static_cast<double>(options.duration.count()), Random(options.seed, Stream::Flight));
  const MasterClock clock(options.duration, Random(options.seed, Stream::Clock));
  const auto plan = options.drone ? PlanDroneExposures : PlanExposures;
  std::vector<Exposure> exposures = plan(options, flight, Random(options.seed, Stream::Cameras));

  const std::filesystem::path truth = folder / "truth.csv";
  std::filesystem::create_directories(folder);
  RemoveMissionOfTruthFile(truth);
  WriteTruthFile(truth, options, flight, clock, exposures);  // first, so that it names every photo that there may be
  if (options.drone) {
    WriteDroneTimestamps(folder / kTimestampsName, options, flight, exposures);
  } else {
    WriteSensorFiles(folder, options, flight, clock, exposures);
  }
  WritePhotos(folder, options, flight, exposures, progress);
  return exposures;
}

}  // namespace kv::simulation
