#include "mission/Steps.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

#include "base/Statistics.h"
#include "georef/EventTypes.h"
#include "georef/LocalOffset.h"
#include "georef/PositionDifferences.h"
#include "mission/inputs/Inputs.h"
#include "mission/inputs/PostProcessed.h"
#include "mission/inputs/Trajectory.h"
#include "photos/JpegHeader.h"
#include "photos/PhotoFolder.h"
#include "photos/PhotoTimes.h"
#include "platform/FileNames.h"
#include "readers/PhotoNumber.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

PhotoFolder ListPhotos(const fs::path& path) {
  PhotoFolder folder;
  folder.path = (fs::absolute(path) / "").lexically_normal().parent_path();
  for (const auto& name : PhotosIn(path)) folder.photos.push_back({WidePath(name), std::nullopt});
  return folder;
}

/// Collects photos whose number no exposure has, and photos that serve several exposures. If photos share a number, those
/// not taken are not reported.
Pairing PairingOf(const PhotoFolder& folder, const SystemEvents& events,
                  const std::vector<std::int32_t>& photoNumbers) {
  Pairing pairing;
  pairing.mode = PairMode::Number;
  const std::size_t nameAt = PhotoNameAt(folder.path);
  std::map<std::wstring, std::size_t> uses;
  std::vector<std::int64_t> numbers;
  for (std::size_t i = 0; i < events.size(); ++i) {
    const CStringW& photo = events[i].PhotoPath;
    if (photo.IsEmpty()) continue;
    ++pairing.paired;
    numbers.push_back(photoNumbers[i]);
    if (++uses[photo.GetString()] == 2) pairing.shared.push_back(std::wstring(photo.GetString()).substr(nameAt));
  }
  std::sort(numbers.begin(), numbers.end());
  for (const Photo& photo : folder.photos) {
    const auto known = PhotoNumberIn(photo.name);
    if (!known || !std::binary_search(numbers.begin(), numbers.end(), known->number))
      pairing.unused.push_back(photo.name);
  }
  return pairing;
}

std::optional<Instant> TimeOf(const fs::path& photo) {
  if (const auto stamp = DroneStampTime(WidePath(photo.filename()))) return stamp;
  const auto header = ReadJpegHeader(photo);
  const auto exif = header ? ExifTimeOriginal(header->exif) : std::nullopt;
  return exif ? std::optional(exif->time) : std::nullopt;
}

/// Numbers begin anew on other days: the photos' times must run with those of the exposures, apart by a clock's offset
/// and a time zone.
void CheckTimes(const Camera& camera, const SystemEvents& events, Job& job) {
  constexpr double kLargestOffset = 15 * 3600, kTolerance = 2;  // seconds
  constexpr std::size_t kMany = 10;                             // one in ten
  std::vector<double> differences;
  for (const auto& event : events) {
    const auto time = event.PhotoPath.IsEmpty() ? std::nullopt : TimeOf(event.PhotoPath.GetString());
    if (time) differences.push_back(Seconds(*time - FromFileTime(event.TimeUTC)));
    job.ThrowIfStopped();
  }
  if (differences.empty()) return;
  std::sort(differences.begin(), differences.end());
  const double median = Quantile(differences, 0.5);
  const auto off =
      static_cast<std::size_t>(std::count_if(differences.begin(), differences.end(), [&](double difference) {
        return std::abs(difference - median) > kTolerance;
      }));
  if (std::abs(median) > kLargestOffset || kMany * off > differences.size())
    job.Add(Found::PhotosOfOtherEvents,
            {{"camera", 1}, {"photos", Count(differences.size())}, {"events", Count(events.size())}},
            {.file = camera.folder->path, .camera = 1});
}

void TellOfPairing(const Camera& camera, Job& job) {
  const Pairing& pairing = camera.pairing;
  const Subject subject{.file = camera.folder->path, .camera = 1};
  const auto tell = [&](const FindingKind& kind, const std::vector<std::wstring>& photos) {
    if (photos.empty()) return;
    job.Add(kind, {{"camera", 1}, {"count", Count(photos.size())}, {"photo", Utf8(photos[0])}}, subject);
  };
  if (pairing.paired < camera.read)
    job.Add(Found::ExposuresWithoutPhoto, {{"count", Count(camera.read - pairing.paired)}}, subject);
  tell(Found::PhotosWithoutExposure, pairing.unused);
  tell(Found::PhotosShared, pairing.shared);
}

/// Takes the photos beside the timestamp file, if there are any. A folder that cannot be listed counts as empty: the
/// timestamp file in it may still be readable.
void FindPhotos(Settings& settings, Job& job) {
  const fs::path beside = fs::absolute(settings.timestamps).parent_path();
  try {
    if (!PhotosIn(beside).empty()) {
      settings.photos = beside;
    } else {
      job.Add(Found::DronePhotosMissing, {{"reason", "no photos in " + Utf8(beside)}}, {.file = beside});
    }
  } catch (const Failure& failure) {
    job.Add(Found::DronePhotosMissing, {{"reason", failure.what()}}, {.file = beside});
  }
}

/// @return the settings that change nothing in a drone mission, separated by commas
std::string UselessSettings(const Settings& settings) {
  const Settings defaults;
  std::string names;
  const auto add = [&](const char* name, auto member) {
    if (settings.*member != defaults.*member) (names += names.empty() ? "" : ", ") += name;
  };
  add("--pair", &Settings::pair);
  add("--cam1-offset", &Settings::camera1Offset);
  add("--cam2-offset", &Settings::camera2Offset);
  add("--event-offset", &Settings::eventOffsetSeconds);
  add("--tolerance", &Settings::toleranceSeconds);
  return names;
}

/// Whether a setting is given that only a sensor's cameras have.
bool PlacesCameras(const Settings& settings) {
  const Settings defaults;
  const auto isGiven = [&](auto... members) { return ((settings.*members != defaults.*members) || ...); };
  return isGiven(&Settings::camera1DelayMilliseconds, &Settings::camera2DelayMilliseconds, &Settings::camera1LeverArm,
                 &Settings::camera2LeverArm, &Settings::headingFromTrack);
}

/// @return what does not go together; empty when all inputs do
std::string ComplaintAbout(const Settings& settings) {
  const auto isGiven = [&](auto... members) { return (!(settings.*members).empty() || ...); };
  if (settings.timestamps.empty()) {
    if (isGiven(&Settings::photos)) return "--photos is for a drone mission; give --timestamps as well";
    if (settings.position != PositionSource::Timestamps)
      return "--position is for a drone mission; give --timestamps as well";
    if (settings.timestampOffsets) return "--timestamp-offsets is for a drone mission; give --timestamps as well";
    return {};
  }
  if (isGiven(&Settings::trajectory, &Settings::events, &Settings::housekeeping, &Settings::camera1,
              &Settings::camera2))
    return "a drone mission has --timestamps and --photos, but not a trajectory, event file, housekeeping log or "
           "cam1 and cam2";
  if (PlacesCameras(settings))
    return "shutter delays, lever arms and --heading-from-track are for a sensor's mission; a drone's timestamp file "
           "has "
           "offsets of its own, which --timestamp-offsets adds";
  if (isGiven(&Settings::pos) && isGiven(&Settings::applanix))
    return "--pos and --applanix are both a post-processed trajectory; give one";
  if (settings.position == PositionSource::PostProcessed && !isGiven(&Settings::pos, &Settings::applanix))
    return "--position post-processed needs a trajectory: give --pos and --target, or --applanix";
  return {};
}

/// Moves the exposures from the antenna to the camera, if wanted, and reports offsets that are not zero.
void ApplyOffsets(const TimestampFile& file, bool isWanted, SystemEvents& events, Job& job) {
  double largest = 0;
  for (std::size_t i = 0; i < events.size(); ++i) {
    const AntennaOffset& offset = file.offsets[i];
    largest = std::max(largest, std::hypot(offset.north, offset.east, offset.down));
    if (!isWanted || !IsPlaced(events[i])) continue;
    tagKVSystemEvent& event = events[i];
    SetLocation(Moved({event.Latitude, event.Longitude, event.Altitude}, offset), event);
  }
  if (largest > 0)
    job.Add(Found::TimestampOffsets,
            {{"metres", largest}, {"effect", isWanted ? "are added" : "are not added; --timestamp-offsets adds them"}});
}

}  // namespace

void SettleDroneInputs(Settings& settings, Job& job) {
  const std::string complaint = ComplaintAbout(settings);
  if (!complaint.empty()) throw Failure(complaint, Failure::Reason::WrongUsage);
  if (settings.timestamps.empty()) return;
  if (const std::string useless = UselessSettings(settings); !useless.empty())
    job.Add(Found::SettingsWithoutEffect, {{"settings", useless}});
  if (settings.photos.empty()) FindPhotos(settings, job);
  settings.camera1 = settings.photos;
}

SystemEvents ReadDroneEvents(Mission& mission, Job& job) {
  const Settings& settings = mission.settings;
  Camera camera;
  camera.number = 1;
  if (!settings.photos.empty()) camera.folder = ListPhotos(settings.photos);
  mission.timestamps = ReadTimestampFile(settings.timestamps, camera.folder ? camera.folder->path : fs::path(), job);
  SystemEvents events = std::move(mission.timestamps->events);
  mission.timestamps->events.clear();
  ApplyOffsets(*mission.timestamps, settings.timestampOffsets, events, job);
  camera.read = events.size();
  if (camera.folder) {
    camera.pairing = PairingOf(*camera.folder, events, mission.timestamps->photoNumbers);
    TellOfPairing(camera, job);
    CheckTimes(camera, events, job);
  }
  mission.cameras.push_back(std::move(camera));
  return events;
}

Trajectory ApplyPostProcessed(const std::vector<tagKVPosEvent>& samples, SystemEvents& events, Mission& mission,
                              Job& job) {
  auto fixes = FixesOf(samples, job);
  const Settings& settings = mission.settings;
  const bool isTaken = settings.position == PositionSource::PostProcessed;
  if (fixes.empty()) {
    const auto& path = settings.applanix.empty() ? settings.pos : settings.applanix;
    if (isTaken) throw Failure(Utf8(path) + ": no usable sample");
    job.Add(Found::PlacesNotCompared, {{"file", Utf8(path)}}, {.file = path});
    return {};
  }
  Trajectory trajectory = InspectedTrajectory(std::move(fixes), settings.maxGapSeconds);
  TellOfTrajectory(trajectory, kPostProcessedWords, job);
  SystemEvents placed = events;
  Observer nobody;
  Job unheard(nobody);  // one finding counts gaps and ends
  TrajectoryIndex index(trajectory.fixes);
  PlaceEvents(placed, trajectory, index, unheard);
  PositionDifferences& differences = mission.positions.emplace(Compare(events, placed));
  differences.used = settings.position;
  if (differences.outside > 0)
    job.Add(Found::ExposuresOutsideTrajectory, {{"count", Count(differences.outside)},
                                                {"from", trajectory.first},
                                                {"to", trajectory.last},
                                                {"effect", isTaken ? "dropped" : "not compared"}});
  if (!isTaken) return {};
  events = std::move(placed);
  return trajectory;
}

}  // namespace kv::mission
