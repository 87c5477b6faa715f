#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "base/Job.h"
#include "georef/TrajectoryIndex.h"

/// The steps of a run.
namespace kv::mission {

class OutputFolder;
using SystemEvents = std::vector<tagKVSystemEvent>;

/// Looks in the mission's folder, not in those below, for what the settings leave open: files by their content, photo
/// folders by the names cam1, cam2, camera1, camera2 in any letter case. What is not there stays open.
/// @throws Failure when there are several candidates, which names them and the option that decides; when the folder
///         cannot be listed
void FindMissionFiles(Settings& settings, Job& job);

/// "flight12 holds base.ubx (unknown), 3 photos, folder old": why a mission folder does not serve.
std::string ContentOf(const std::filesystem::path& folder);

/// Completes the inputs of a drone mission: photos beside the timestamp file, which become those of camera 1.
/// @throws Failure (WrongUsage) when inputs do not go together
void SettleDroneInputs(Settings& settings, Job& job);

/// Reads a drone's timestamp file and the names of its photos into the mission. Exposures find photos by number.
/// @return the exposures as events, with their photos
/// @throws Failure without an exposure; when the photo folder cannot be listed
SystemEvents ReadDroneEvents(Mission& mission, Job& job);

/// Compares the places of a drone's exposures with those of a post-processed trajectory at the same GPS time. When the
/// settings ask for these, takes them over; exposures outside the trajectory then have no place.
/// @param samples  those without a valid time, and single ones out of the order of time, are left out
/// @return  the trajectory; without fixes if the places of the timestamp file stay
/// @throws Failure without a usable sample when its places are wanted; otherwise that is a finding
Trajectory ApplyPostProcessed(const std::vector<tagKVPosEvent>& samples, SystemEvents& events, Mission& mission,
                              Job& job);

/// Tells when camera events lie outside the trajectory, and how a time system may explain it.
void TellOfEventsOutside(const SystemEvents& events, const Trajectory& trajectory, Job& job);

/// Gives every event with a time its place on the trajectory. A camera event inside a gap, or between two fixes across
/// the 180th meridian, gets none.
/// @param index  of the trajectory's fixes, here and below
void PlaceEvents(SystemEvents& events, const Trajectory& trajectory, TrajectoryIndex& index, Job& job);

/// Gives every entry of the housekeeping log its place; one without a place of its own gets a neighbour's. Removes and
/// counts those that stay without.
void PlaceEntries(HousekeepingLog& housekeeping, TrajectoryIndex& index, Job& job);

/// What is known about the photo of an event.
struct PhotoOfEvent {
  std::optional<double> differenceSeconds;  ///< photo time, with the offset, minus event time
  std::optional<double> probability;        ///< of a pair by time
};
using PhotosOfEvents = std::vector<PhotoOfEvent>;

/// Gives the camera events of both cameras their photos, and checks the cameras' clocks.
/// @param events  in the order of the event file; an event without a time is paired by order only
/// @param photos  receives what is known of each event's photo
/// @return        the cameras that have events or photos
/// @throws Failure when a folder cannot be listed, or not be paired by order
std::vector<Camera> PairCameras(const Settings& settings, SystemEvents& events, PhotosOfEvents& photos, Job& job);

/// Moves the camera events into exposures, and says which cannot be in the photo layer, and why.
/// @param events   in file order, heartbeats among them; only these stay
/// @param photos   of each event
/// @param mission  its event or timestamp file, trajectory and settings tell why
std::vector<Exposure> ExposuresOf(SystemEvents& events, const PhotosOfEvents& photos, const Mission& mission,
                                  const Trajectory& trajectory);

/// Moves camera events to the times of their exposures, by the shutter delays.
void DelayExposures(const Settings& settings, SystemEvents& events);

/// @throws Failure (WrongUsage) when a lever arm is given, but neither attitude nor leave to take it from the track
void CheckLeverArms(const Mission& mission);

/// Gives each exposure with a place its attitude, and moves it by the lever arm of its camera. An exposure whose lever
/// arm cannot be turned loses its place.
/// @param trajectory  that placed the exposures; without fixes if the timestamp file did
void PlaceCameras(const Trajectory& trajectory, TrajectoryIndex& index, Mission& mission, Job& job);

/// Says of each exposure with a place how good that is, as the fixes beside it or the timestamp file say, and reports
/// stretches of photos without RTK in a mission that had it.
/// @param trajectory  that placed the exposures; without fixes if the timestamp file did
void QualifyExposures(const Trajectory& trajectory, TrajectoryIndex& index, Mission& mission, Job& job);

/// Stores the sharpness of the photos of exposures that have a place; a photo that cannot be graded leaves 0.
/// @param thumbnails  receives those of photos spread over the mission, if there is to be a report
/// @return  a summary for camera 1 and one for camera 2
/// @throws Failure (Stopped)
std::array<SharpnessSummary, 2> GradeExposures(std::vector<Exposure>& exposures, const Settings& settings,
                                               std::vector<Thumbnail>& thumbnails, Job& job);

/// Between how many photos one gets a thumbnail while photos are graded; 0 for none.
std::size_t ThumbnailStep(std::size_t photos, const Settings& settings);

/// Completes the thumbnails of a mission: those of blurred and dropped photos that are missing are made, then as many of
/// each kind are kept, evenly spread, as the settings leave room for.
/// @throws Failure (Stopped)
void CompleteThumbnails(Mission& mission, Job& job);

/// Combines the exposures of both cameras that have a place into stations. Findings tell of stations that are not a
/// pair of the two cameras.
Stations FormStations(const std::vector<Exposure>& exposures, double toleranceSeconds, Job& job);

/// Whether the attribute table of photos can hold a path: it has 254 characters of Windows-1252.
bool FitsPhotoPath(const CStringW& path);

/// Refuses a layer whose attribute table would be larger than a Shapefile's can be.
/// @param layer    its kind, of `kLayerNames`
/// @param name     of the layer, for the message
/// @param instead  what to do, for the message
/// @throws Failure
void RefuseOversized(std::string_view layer, const std::string& name, std::size_t records, const char* instead);

/// Writes the Shapefile sets of a mission into the staging folder.
/// @throws Failure before anything is written when one of them would be too large; with the sentence of the operation
///         that failed; (Stopped)
void WriteShapefiles(const Mission& mission, const OutputFolder& output, Job& job);

/// Writes a layer of samples in a target coordinate system.
void WritePosLayer(const std::string& name, const PosPoints& points, const OutputFolder& output, Job& job);

}  // namespace kv::mission
