#include "mission/MissionFolder.h"

#include <algorithm>

#include "base/Failure.h"
#include "mission/inputs/FileKind.h"
#include "photos/PhotoFolder.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "text/TextCase.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

/// The missions that an input belongs to.
enum class Bearer { Sensor, Drone, Any };

struct Candidates {
  Bearer bearer;
  const char* what;
  const char* option;
  std::optional<fs::path> Settings::*setting;
  std::vector<fs::path> paths;
};

/// Photos, raw photos and films by their extension: too many to look into.
bool IsPicture(const fs::path& path) {
  constexpr std::array kExtensions{".arw", ".cr2", ".cr3", ".dng", ".heic", ".mov", ".mp4",
                                   ".nef", ".orf", ".png", ".raf", ".rw2",  ".tif", ".tiff"};
  const std::string extension = LowerCase(Utf8(path.extension()));
  return HasPhotoExtension(path) || std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

bool HaveSameContent(const std::vector<fs::path>& paths) {
  const auto size = fs::file_size(paths[0]);
  const std::string content = ReadBeginning(paths[0], size + 1);
  return std::all_of(paths.begin() + 1, paths.end(), [&](const fs::path& path) {
    return fs::file_size(path) == size && ReadBeginning(path, size + 1) == content;
  });
}

/// Where an entry of the folder belongs; null when nowhere.
class Sorter {
 public:
  Candidates* Place(const fs::directory_entry& entry, Log& log) {
    std::error_code unknown;
    if (entry.is_directory(unknown)) return PlaceFolder(LowerCase(Utf8(entry.path().filename())));
    if (!entry.is_regular_file(unknown) || IsPicture(entry.path())) return nullptr;
    try {
      return PlaceFile(KindOfFile(entry.path()));
    } catch (const Failure& failure) {
      if (failure.Code() == ExitCode::Interrupted) throw;
      log.Warn("{}", failure.what());
      return nullptr;
    }
  }
  std::array<Candidates, 7>& All() { return all_; }

 private:
  Candidates* PlaceFolder(const std::string& name) {
    if (name == "cam1" || name == "camera1") return &all_[3];
    if (name == "cam2" || name == "camera2") return &all_[4];
    return nullptr;
  }
  Candidates* PlaceFile(FileKind kind) {
    if (kind == FileKind::Trajectory) return &all_[0];
    if (kind == FileKind::Events) return &all_[1];
    if (kind == FileKind::HousekeepingLog) return &all_[2];
    if (kind == FileKind::DroneTimestamps) return &all_[5];
    if (kind == FileKind::DatedOrientation || kind == FileKind::ClockedOrientation) return &all_[6];
    return nullptr;
  }

  std::array<Candidates, 7> all_{{{Bearer::Sensor, "trajectories", "--trajectory", &Settings::trajectory, {}},
                                  {Bearer::Sensor, "event files", "--events", &Settings::events, {}},
                                  {Bearer::Sensor, "logs", "--log", &Settings::log, {}},
                                  {Bearer::Sensor, "folders of camera 1", "--cam1", &Settings::camera1, {}},
                                  {Bearer::Sensor, "folders of camera 2", "--cam2", &Settings::camera2, {}},
                                  {Bearer::Drone, "timestamp files of a drone", "--mrk", &Settings::mrk, {}},
                                  {Bearer::Any, "orientation sensor files", "--aos", &Settings::aos, {}}}};
};

void Settle(Candidates& candidates, Settings& settings, Log& log) {
  auto& setting = settings.*candidates.setting;
  auto& paths = candidates.paths;
  if (setting || paths.empty()) return;
  std::sort(paths.begin(), paths.end());
  if (paths.size() > 1 && !(candidates.bearer == Bearer::Any && HaveSameContent(paths))) {
    std::string names;
    for (const auto& path : paths) names += (names.empty() ? "" : ", ") + Utf8(path.filename());
    const std::string complaint = fmt::format("{}: several {}: {}; choose with {}", Utf8(paths[0].parent_path()),
                                              candidates.what, names, candidates.option);
    if (candidates.bearer != Bearer::Any) throw Failure(complaint);
    return log.Warn("{}", complaint);  // the mission does without
  }
  log.Note("found {}", Utf8(paths[0]));
  setting = paths[0];
}

/// A drone's timestamps make a drone mission, unless there is a trajectory or an event file.
Bearer BearerOf(const Settings& settings, std::array<Candidates, 7>& all) {
  if (settings.mrk) return Bearer::Drone;
  const auto isThere = [&](auto setting) {
    return settings.*setting || std::any_of(all.begin(), all.end(), [&](const Candidates& candidates) {
             return candidates.setting == setting && !candidates.paths.empty();
           });
  };
  const bool isSensors = isThere(&Settings::trajectory) || isThere(&Settings::events);
  return !isSensors && isThere(&Settings::mrk) ? Bearer::Drone : Bearer::Sensor;
}

/// Every entry of the folder is where it belongs.
Sorter Sorted(const fs::path& folder, Log& log) {
  Sorter sorter;
  std::error_code error;
  for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    if (Candidates* candidates = sorter.Place(*entry, log)) candidates->paths.push_back(entry->path());
  }
  if (error) throw Failure(fmt::format("{}: cannot be listed: {}", Utf8(folder), error.message()));
  return sorter;
}

}  // namespace

Settings ReadMissionSettings(const fs::path& folder) {
  std::error_code error;
  if (!fs::is_directory(folder, error)) throw Failure(Utf8(folder) + ": no such folder");
  const auto file = folder / "mission.toml";
  return fs::symlink_status(file, error).type() == fs::file_type::not_found ? Settings{} : ReadMissionToml(file);
}

void FindMissionFiles(const fs::path& folder, Settings& settings, Log& log) {
  Sorter sorter = Sorted(folder, log);
  const Bearer bearer = BearerOf(settings, sorter.All());
  for (Candidates& candidates : sorter.All()) {
    if (candidates.bearer == bearer || candidates.bearer == Bearer::Any) {
      Settle(candidates, settings, log);
      continue;
    }
    for (const auto& path : candidates.paths)
      log.Warn("{}: left aside: {}", Utf8(path),
               bearer == Bearer::Drone ? "the mission is a drone's" : "there is a trajectory or an event file");
  }
}

fs::path FindCameraFolder(const fs::path& folder, int camera, Log& log) {
  const auto setting = camera == 1 ? &Settings::camera1 : &Settings::camera2;
  Settings settings = ReadMissionSettings(folder);
  Sorter sorter = Sorted(folder, log);
  for (Candidates& candidates : sorter.All()) {
    if (candidates.setting == setting) Settle(candidates, settings, log);
  }
  if (!(settings.*setting)) throw Failure(fmt::format("{}: no folder of camera {}", Utf8(folder), camera));
  return *(settings.*setting);
}

}  // namespace kv::mission
