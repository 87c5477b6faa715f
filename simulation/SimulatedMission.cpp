#include "simulation/SimulatedMission.h"

#include "simulation/DroneTimestamps.h"
#include "simulation/EventFile.h"
#include "simulation/HousekeepingLog.h"
#include "simulation/NmeaLog.h"
#include "simulation/OrientationFile.h"
#include "simulation/PhotoFiles.h"
#include "simulation/TrackFiles.h"
#include "simulation/TrajectoryFile.h"
#include "simulation/TruthFile.h"

namespace kv::simulation {
namespace {

/// @return false if `progress` stopped it
bool WriteSensorFiles(const std::filesystem::path& folder, const MissionOptions& options, const FlightPath& flight,
                      const MasterClock& clock, const std::vector<Exposure>& exposures, const Progress& progress) {
  WriteEventFile(folder / kEventsName, options, clock, exposures);
  const auto goesOn = [&progress, photos = CountPhotos(exposures)] { return progress(0, photos); };
  if (!WriteTrajectoryFile(folder / kTrajectoryName, options, flight, goesOn)) return false;
  if (options.trouble.log.beside) WriteInstrumentFile(folder / kInstrumentName, options);
  WriteHousekeepingLog(folder / kHousekeepingName, options, flight, exposures);
  WriteOrientationFile(folder / kOrientationName, options, flight);
  if (options.photos) {
    for (const int camera : {1, 2}) {
      const auto photos = folder / PhotoFolder(options, camera);
      if (std::filesystem::is_symlink(photos)) std::filesystem::remove(photos);  // photos are not written elsewhere
      std::filesystem::create_directories(photos);
    }
  }
  return true;
}

void WriteTracks(const std::filesystem::path& folder, const MissionOptions& options, const FlightPath& flight) {
  if (options.tracks.pos) WritePosFile(folder / kPosName, options, flight);
  if (options.tracks.sbet) WriteSbetFile(folder / kSbetName, options, flight);
  if (options.tracks.gpx) WriteGpxFile(folder / kGpxName, options, flight);
}

}  // namespace

std::optional<std::vector<Exposure>> WriteMission(const std::filesystem::path& folder, const MissionOptions& options,
                                                  const Progress& progress) {
  const FlightPath flight(static_cast<double>(options.duration.count()), Random(options.seed, Stream::Flight));
  const MasterClock clock(options.duration, Random(options.seed, Stream::Clock));
  const auto plan = options.drone ? PlanDroneExposures : PlanExposures;
  std::vector<Exposure> exposures = plan(options, flight, Random(options.seed, Stream::Cameras));

  const std::filesystem::path truth = folder / "truth.csv";
  std::filesystem::create_directories(folder);
  RemoveMissionOfTruthFile(truth);
  WriteTruthFile(truth, options, flight, clock, exposures);  // before the photos: it must name all of them
  if (options.drone) {
    WriteDroneTimestamps(folder / kTimestampsName, options, flight, exposures);
  } else if (!WriteSensorFiles(folder, options, flight, clock, exposures, progress)) {
    return {};
  }
  WriteTracks(folder, options, flight);
  if (!WritePhotos(folder, options, flight, exposures, progress)) return {};
  return exposures;
}

}  // namespace kv::simulation
