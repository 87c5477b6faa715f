#include <KVMission.h>
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <set>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "base/InOrder.h"
#include "base/Job.h"
#include "base/Writing.h"
#include "georef/EventTypes.h"
#include "mission/OutputFolder.h"
#include "mission/Settings.h"
#include "mission/inputs/GeoidHeights.h"
#include "photos/Geotag.h"
#include "photos/PhotoReplacement.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;
using State = GeotaggedPhoto::State;

// Most photos wait until they are on the disk, so more threads than processors work; each has a photo in memory twice.
constexpr unsigned kInPlacePerJob = 4, kMostInPlace = 16;

/// A photo and what is to be written into it.
struct Task {
  fs::path name;
  fs::path photo;  ///< where a link of that name leads: the photo is replaced, not the link
  int camera;
  Geotag geotag;
  bool isShared = false;  ///< by two exposures
};

fs::path FolderOf(const fs::path& root, int camera) { return root / fmt::format("cam{}", camera); }

/// Where links lead; a path that leads nowhere stays as it is. A folder is looked up once.
class Targets {
 public:
  fs::path Of(const fs::path& path) {
    const auto [folder, isNew] = folders_.try_emplace(path.parent_path().native());
    if (isNew) folder->second = Canonical(path.parent_path());
    fs::path target = folder->second / path.filename();
    std::error_code notThere;
    return fs::is_symlink(target, notThere) ? Canonical(target) : target;
  }

 private:
  static fs::path Canonical(const fs::path& path) {
    std::error_code notThere;
    fs::path target = fs::canonical(path.empty() ? "." : path, notThere);
    return notThere ? path : target;
  }

  std::unordered_map<fs::path::string_type, fs::path> folders_;
};

std::vector<Task> TasksOf(const Mission& mission) {
  std::vector<Task> tasks;
  std::unordered_map<fs::path::string_type, std::size_t> uses;
  Targets targets;
  for (const Exposure& exposure : mission.exposures) {
    const tagKVSystemEvent& event = exposure.event;
    if (exposure.drop || !exposure.time || event.PhotoPath.IsEmpty()) continue;
    const fs::path name = NativePath(event.PhotoPath.GetString());
    tasks.push_back({name,
                     targets.Of(name),
                     CameraOf(event),
                     {.latitude = event.Latitude,
                      .longitude = event.Longitude,
                      .height = event.Altitude,
                      .isEllipsoidal = true,
                      .time = *exposure.time,
                      .quality = exposure.quality,
                      .attitude = exposure.attitude,
                      .isLevelKnown = exposure.attitudeQuality != AttitudeQuality::Track}});
    ++uses[tasks.back().photo.native()];
  }
  for (Task& task : tasks) task.isShared = uses[task.photo.native()] > 1;
  return tasks;
}

/// Puts the heights above the geoid. @throws Failure
void MoveToGeoid(std::vector<Task>& tasks) {
  std::vector<tagKVPosEvent> places(tasks.size());
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    places[i].Latitude = tasks[i].geotag.latitude, places[i].Longitude = tasks[i].geotag.longitude;
    places[i].Height = tasks[i].geotag.height;
  }
  LeaveEllipsoid(places);
  for (std::size_t i = 0; i < tasks.size(); ++i)
    tasks[i].geotag.height = places[i].Height, tasks[i].geotag.isEllipsoidal = false;
}

/// A folder for copies or backups must not be one of the photos, nor the mission's, where a later run would find it.
void RefuseFolderOfPhotos(const fs::path& folder, const Mission& mission, const std::vector<Task>& tasks) {
  std::error_code notThere;
  std::set<std::pair<fs::path, int>> ofPhotos;
  for (const Task& task : tasks) ofPhotos.emplace(task.photo.parent_path(), task.camera);
  bool isRefused = fs::equivalent(folder, mission.settings.mission, notThere);
  for (const auto& [photos, camera] : ofPhotos)
    isRefused = isRefused || fs::equivalent(FolderOf(folder, camera), photos, notThere);
  if (isRefused)
    throw Failure(Utf8(folder) + ": copies and backups need a folder apart from the photos",
                  Failure::Reason::WrongUsage);
}

/// Tags one photo after the other, in several threads at once.
class Tagger {
 public:
  explicit Tagger(const GeotagSettings& settings) : settings_(settings) {}

  GeotaggedPhoto Tag(const Task& task) {
    GeotaggedPhoto result{task.name, task.camera, State::LeftAlone, {}};
    try {
      if (task.isShared) throw Failure("it serves two exposures, and it is not known which one is its own");
      const std::string content = ReadPhoto(task.photo), tagged = WithGeotag(content, task.geotag);
      if (settings_.output.empty()) {
        result.state = Replace(task, content, tagged);
      } else {
        result.photo = FolderOf(settings_.output, task.camera) / task.name.filename();
        result.state = Copy(task.photo, tagged, result.photo);
      }
      ++done_;
    } catch (const Failure& failure) {
      result.complaint = failure.what();
    } catch (const fs::filesystem_error& error) {
      result.complaint = error.code().message();
    }
    return result;
  }

  std::size_t Done() const { return done_; }

 private:
  State Replace(const Task& task, const std::string& content, const std::string& tagged) {
    if (tagged == content) return State::Unchanged;
    if (!OpenNative(task.photo, "rb+")) FailWriting(task.photo);
    if (!settings_.backup.empty()) {
      const fs::path backup = FolderOf(settings_.backup, task.camera) / task.name.filename();
      // The backup of an earlier run is this photo without a geotag.
      if (!BackUp(content, task.photo, backup, scratch_) && WithGeotag(ReadPhoto(backup), task.geotag) != tagged)
        throw Failure(Utf8(backup) + " is another picture");
    }
    PutPhoto(tagged, task.photo, task.photo, scratch_, fs::last_write_time(task.photo));
    return State::Tagged;
  }

  State Copy(const fs::path& photo, const std::string& tagged, const fs::path& copy) {
    std::error_code notThere;
    if (fs::exists(copy, notThere)) {
      if (ReadBeginning(copy, tagged.size() + 1) == tagged) return State::Unchanged;
      if (!settings_.overwrite) throw Failure(Utf8(copy) + " exists and differs; --overwrite replaces it");
    }
    PutPhoto(tagged, copy, photo, scratch_, fs::last_write_time(photo), false);  // could be made again
    return State::Tagged;
  }

  const GeotagSettings& settings_;
  ScratchFolders scratch_;
  std::atomic<std::size_t> done_ = 0;
};

/// What killed runs left in the folders that photos are put into.
void RemoveAbandonedWork(const std::vector<Task>& tasks, const GeotagSettings& settings) {
  std::set<fs::path> folders;
  for (const Task& task : tasks) {
    if (settings.output.empty()) folders.insert(task.photo.parent_path());
    for (const auto& root : {settings.output, settings.backup}) {
      if (!root.empty()) folders.insert(FolderOf(root, task.camera));
    }
  }
  for (const fs::path& folder : folders) ScratchFolder::RemoveAbandoned(folder);
}

std::vector<GeotaggedPhoto> TagAll(const std::vector<Task>& tasks, const GeotagSettings& settings, Job& job) {
  Tagger tagger(settings);
  Meter meter(job, "geotagging", "photos");
  const auto next = [&, task = tasks.begin()]() mutable {
    return task == tasks.end() ? std::optional<const Task*>() : &*task++;
  };
  const unsigned jobs = ThreadsFor(settings.jobs);
  const unsigned threads =
      settings.output.empty() ? std::max(jobs, std::min(kInPlacePerJob * jobs, kMostInPlace)) : jobs;
  std::vector<GeotaggedPhoto> photos;
  try {
    MakeInOrder(
        threads, next, [&](const Task* task) { return tagger.Tag(*task); },
        [&](GeotaggedPhoto photo) {
          if (photo.state == State::LeftAlone)
            job.Add(Found::PhotoNotTagged, {{"photo", Utf8(photo.photo)}, {"reason", photo.complaint}},
                    {.file = photo.photo, .camera = photo.camera});
          photos.push_back(std::move(photo));
          meter.Show(photos.size(), tasks.size());
          job.ThrowIfStopped();
          return true;
        });
  } catch (const Failure& failure) {
    throw Failure(fmt::format("{}: {} of {} photos have their geotag, the others are as they were", failure.what(),
                              tagger.Done(), tasks.size()),
                  failure.Why());
  }
  return photos;
}

}  // namespace
}  // namespace kv::mission

std::vector<KVMission::GeotaggedPhoto> KVMission::GeotagPhotos(const Mission& mission, const GeotagSettings& settings,
                                                               Observer& observer) {
  using namespace kv::mission;
  Job job(observer);
  if (mission.doubtful && !mission.settings.acceptDoubt)
    throw Failure("results are in doubt: photos are not tagged; --accept-doubt tags them");
  if (settings.output.empty()) RefuseChangesOutside(mission.settings, {"cam1", "cam2", "photos"});
  std::vector<Task> tasks = TasksOf(mission);
  for (const auto& folder : {settings.output, settings.backup}) {
    if (!folder.empty()) RefuseFolderOfPhotos(folder, mission, tasks);
  }
  if (settings.heights == Heights::Geoid && !tasks.empty()) MoveToGeoid(tasks);
  const auto angles = std::count_if(tasks.begin(), tasks.end(),
                                    [](const Task& task) { return task.geotag.attitude && task.geotag.isLevelKnown; });
  if (angles > 0) job.Add(Found::AnglesOfSensor, {{"count", std::int64_t{angles}}});
  std::optional<NewFolders> folders[2];
  for (const Task& task : tasks) {
    auto& made = folders[task.camera - 1];
    if (!settings.output.empty() && !made) made.emplace(FolderOf(settings.output, task.camera));
  }
  RemoveAbandonedWork(tasks, settings);
  return TagAll(tasks, settings, job);  // a folder into which nothing was copied goes again
}
