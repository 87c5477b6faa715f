#include "mission/Steps.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "mission/Settings.h"
#include "mission/inputs/Inputs.h"
#include "mission/inputs/Trajectory.h"
#include "photos/PhotoFolder.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "text/TextCase.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;
using Setting = fs::path Settings::*;

/// Files and folders that may serve one setting.
struct Candidates {
  Setting setting;
  Bearer bearer;
  const char* several;
  const char* key;
  std::vector<fs::path> paths;
};

/// Recognises photos, raw photos and films by their extension: there are too many to open.
bool IsPicture(const fs::path& path) {
  constexpr std::array kExtensions{".arw", ".cr2", ".cr3", ".dng", ".heic", ".mov", ".mp4",
                                   ".nef", ".orf", ".png", ".raf", ".rw2",  ".tif", ".tiff"};
  const std::string extension = LowerCase(Utf8(path.extension()));
  return HasPhotoExtension(path) || std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

bool HaveSameContent(const std::vector<fs::path>& paths) {
  std::error_code unknown;
  const auto size = fs::file_size(paths[0], unknown);
  if (unknown) return false;
  const std::string content = ReadBeginning(paths[0], size + 1);
  return std::all_of(paths.begin() + 1, paths.end(), [&](const fs::path& path) {
    return fs::file_size(path, unknown) == size && ReadBeginning(path, size + 1) == content;
  });
}

/// Sorts the entries of a mission folder by the setting that they may serve.
class Sorter {
 public:
  /// @param skipUnreadable  a file that cannot be read is no input; else it is a failure
  Sorter(const fs::path& folder, bool skipUnreadable, Job& job) : skipUnreadable_(skipUnreadable) {
    for (const Input& input : Inputs()) {
      if (input.bearer != Bearer::None && !For(input.setting))
        all_.push_back({input.setting, input.bearer, input.several, input.key, {}});
    }
    all_.push_back({&Settings::camera1, Bearer::Sensor, "folders of camera 1", "cam1", {}});
    all_.push_back({&Settings::camera2, Bearer::Sensor, "folders of camera 2", "cam2", {}});
    std::error_code error;
    for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
      job.ThrowIfStopped();
      if (Candidates* candidates = Place(*entry, job)) candidates->paths.push_back(entry->path());
    }
    if (error) throw Failure(fmt::format("{}: cannot be listed: {}", Utf8(folder), error.message()));
  }

  std::vector<Candidates>& All() { return all_; }
  Candidates* For(Setting setting) {
    const auto found = std::find_if(all_.begin(), all_.end(), [&](auto& entry) { return entry.setting == setting; });
    return found == all_.end() ? nullptr : &*found;
  }

 private:
  /// @return null for an entry that is not an input
  Candidates* Place(const fs::directory_entry& entry, Job& job) {
    std::error_code unknown;
    if (entry.is_directory(unknown)) {
      const std::string name = LowerCase(Utf8(entry.path().filename()));
      return name == "cam1" || name == "camera1"   ? For(&Settings::camera1)
             : name == "cam2" || name == "camera2" ? For(&Settings::camera2)
                                                   : nullptr;
    }
    if (!entry.is_regular_file(unknown) || IsPicture(entry.path())) return nullptr;
    try {
      return For(InputOf(KindOfFile(entry.path())).setting);
    } catch (const Failure& failure) {
      if (!skipUnreadable_) throw Failure(fmt::format("{}; --skip-unreadable goes on without it", failure.what()));
      job.Add(Found::InputUnreadable, {{"reason", failure.what()}}, {.file = entry.path()});
      return nullptr;
    }
  }

  bool skipUnreadable_;
  std::vector<Candidates> all_;
};

/// Of several receiver logs leaves those with a fix, if there are any: instruments write the same kind of sentences.
void LeaveOutLogsWithoutFix(std::vector<fs::path>& logs, Job& job) {
  const auto others =
      std::stable_partition(logs.begin(), logs.end(), [&](const auto& log) { return HasFix(log, job); });
  if (others == logs.begin()) return;
  for (auto log = others; log != logs.end(); ++log)
    job.Add(Found::InputLeftAside, {{"file", Utf8(*log)}, {"reason", "it has no usable fix"}}, {.file = *log});
  logs.erase(others, logs.end());
}

Finding Several(const std::vector<fs::path>& paths, const char* what, const char* key) {
  std::string names;
  for (const auto& path : paths) names += (names.empty() ? "" : ", ") + Utf8(path.filename());
  const fs::path folder = paths[0].parent_path();
  return MakeFinding(Found::InputAmbiguous,
                     {{"folder", Utf8(folder)}, {"what", what}, {"names", names}, {"option", std::string("--") + key}},
                     {.file = folder});
}

void Settle(Candidates& candidates, Settings& settings, Job& job) {
  auto& setting = settings.*candidates.setting;
  auto& paths = candidates.paths;
  if (!setting.empty() || paths.empty()) return;
  std::sort(paths.begin(), paths.end());
  if (paths.size() > 1 && candidates.setting == &Settings::trajectory) LeaveOutLogsWithoutFix(paths, job);
  if (paths.size() > 1 && !(candidates.bearer == Bearer::Any && HaveSameContent(paths))) {
    const Finding several = Several(paths, candidates.several, candidates.key);
    if (candidates.bearer != Bearer::Any) throw Failure(several.text);
    return job.Add(Found::InputAmbiguous, several.values, several.subject);  // the mission does without
  }
  job.Add(Found::InputFound, {{"file", Utf8(paths[0])}}, {.file = paths[0]});
  setting = paths[0];
}

/// The receiver log beside a post-processed trajectory that is named is compared with it.
void TakeLogToCompare(std::vector<fs::path> logs, Settings& settings, Job& job) {
  std::error_code error;
  if (settings.trajectory.empty() || !settings.otherTrajectory.empty() || logs.empty() ||
      !fs::is_regular_file(settings.trajectory, error))
    return;
  const FileKind kind = KindOfFile(settings.trajectory);
  if (kind != FileKind::Pos && kind != FileKind::Applanix && kind != FileKind::Sbet) return;
  std::sort(logs.begin(), logs.end());
  LeaveOutLogsWithoutFix(logs, job);
  if (logs.size() > 1) {
    const Finding several = Several(logs, "receiver logs to compare with", "trajectory");
    return job.Add(Found::InputAmbiguous, several.values, several.subject);
  }
  if (!HasFix(logs[0], job)) return;
  job.Add(Found::InputFound, {{"file", Utf8(logs[0])}}, {.file = logs[0]});
  settings.otherTrajectory = logs[0];
}

/// Files that surveyors bring although a run cannot take them, by words in their first line.
struct Foreign {
  std::string_view words;
  const char* name;
};
constexpr auto kForeign = std::to_array<Foreign>({
    {"\xB5\x62", "u-blox binary: convert it to NMEA"},
    {"PK\x03\x04", "ZIP file: unzip it"},
    {"RINEX VERSION", "RINEX observations: post-process them first"},
});

std::string KindOrReason(const fs::path& file) {
  constexpr std::size_t kLine = 80;
  try {
    const FileKind kind = KindOfFile(file);
    const std::string head = kind == FileKind::Unknown ? ReadBeginning(file, kLine) : "";
    const auto foreign = std::find_if(kForeign.begin(), kForeign.end(),
                                      [&](auto& entry) { return head.find(entry.words) != head.npos; });
    return foreign == kForeign.end() ? InputOf(kind).name : foreign->name;
  } catch (const Failure& failure) {
    return failure.what();
  }
}

/// A drone's timestamps make a drone mission, unless there is a trajectory or an event file.
Bearer BearerOf(const Settings& settings, Sorter& sorter) {
  if (!settings.timestamps.empty()) return Bearer::Drone;
  const auto isThere = [&](Setting setting) {
    return !(settings.*setting).empty() || !sorter.For(setting)->paths.empty();
  };
  const bool isSensors = isThere(&Settings::trajectory) || isThere(&Settings::events);
  return !isSensors && isThere(&Settings::timestamps) ? Bearer::Drone : Bearer::Sensor;
}

/// An event file that nothing can be read of is still one by its name: to go on without it would lose every photo.
void TakeBrokenEventFile(Settings& settings) {
  std::error_code error;
  for (auto entry = fs::directory_iterator(settings.mission, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    std::error_code unknown;
    const std::string name = LowerCase(Utf8(entry->path().filename()));
    if (name.starts_with("event") && entry->is_regular_file(unknown) && KindOfFile(entry->path()) == FileKind::Unknown)
      settings.events = entry->path();
  }
}

}  // namespace

std::string ContentOf(const fs::path& folder) {
  constexpr std::ptrdiff_t kNamed = 10;
  std::vector<std::string> names;
  std::size_t pictures = 0;
  std::error_code error;
  for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    std::error_code unknown;
    const std::string name = Utf8(entry->path().filename());
    if (entry->is_directory(unknown)) {
      names.push_back("folder " + name);
    } else if (IsPicture(entry->path())) {
      ++pictures;
    } else if (entry->is_other(unknown)) {  // a pipe would be waited for
      names.push_back(name + " (not a regular file)");
    } else {
      names.push_back(fmt::format("{} ({})", name, KindOrReason(entry->path())));
    }
  }
  std::sort(names.begin(), names.end());
  if (pictures > 0) names.push_back(Counted(pictures, "picture"));
  if (names.empty()) return Utf8(folder) + " is empty";
  const auto end = names.begin() + std::min(kNamed, std::ssize(names));
  return fmt::format("{} holds {}{}", Utf8(folder), fmt::join(names.begin(), end, ", "),
                     end == names.end() ? "" : ", ...");
}

void RefuseChangesOutside(const Settings& settings, std::initializer_list<std::string_view> keys) {
  for (const std::string& key : settings.outside) {
    if (!settings.allowOutside && std::find(keys.begin(), keys.end(), key) != keys.end())
      throw Failure(
          fmt::format("mission.toml: {} leads out of the mission folder; --allow-outside changes photos there", key),
          Failure::Reason::WrongUsage);
  }
}

void FindMissionFiles(Settings& settings, Job& job) {
  Sorter sorter(settings.mission, settings.skipUnreadable, job);
  const Bearer bearer = BearerOf(settings, sorter);
  if (bearer == Bearer::Sensor) TakeLogToCompare(sorter.For(&Settings::trajectory)->paths, settings, job);
  for (Candidates& candidates : sorter.All()) {
    if (candidates.bearer == bearer || candidates.bearer == Bearer::Any) {
      Settle(candidates, settings, job);
      continue;
    }
    const char* reason =
        bearer == Bearer::Drone ? "the mission is a drone's" : "there is a trajectory or an event file";
    for (const auto& path : candidates.paths)
      job.Add(Found::InputLeftAside, {{"file", Utf8(path)}, {"reason", reason}}, {.file = path});
  }
  if (bearer == Bearer::Sensor && settings.events.empty()) TakeBrokenEventFile(settings);
}

}  // namespace kv::mission

KVMission::Settings KVMission::SettingsOf(const std::filesystem::path& mission) {
  std::error_code error;
  if (std::filesystem::is_regular_file(mission, error))
    throw Failure(
        Utf8(mission) + (kv::mission::LowerCase(Utf8(mission.extension())) == ".zip"
                             ? ": a ZIP file; unzip it and give the folder"
                             : ": a file; give the mission's folder, or the file with the option that takes it"),
        Failure::Reason::WrongUsage);
  if (!std::filesystem::is_directory(mission, error)) throw Failure(Utf8(mission) + ": no such folder");
  Settings settings;
  settings.mission = mission;
  const auto file = mission / "mission.toml";  // a link that leads nowhere is one
  if (std::filesystem::symlink_status(file, error).type() != std::filesystem::file_type::not_found)
    kv::mission::ReadMissionToml(file, settings);
  return settings;
}

std::filesystem::path KVMission::FindCameraFolder(const std::filesystem::path& mission, int camera, bool allowOutside,
                                                  Observer& observer) {
  using namespace kv::mission;
  Job job(observer);
  const auto setting = camera == 1 ? &Settings::camera1 : &Settings::camera2;
  Settings settings = SettingsOf(mission);
  settings.allowOutside = allowOutside;
  RefuseChangesOutside(settings, {camera == 1 ? "cam1" : "cam2"});
  constexpr bool kSkipUnreadable = true;  // only folders matter
  Sorter sorter(mission, kSkipUnreadable, job);
  Settle(*sorter.For(setting), settings, job);
  if ((settings.*setting).empty()) throw Failure(fmt::format("{}: no folder of camera {}", Utf8(mission), camera));
  return settings.*setting;
}
