#include <fmt/format.h>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "commands/Commands.h"

namespace kv::command {
namespace {

using KVMission::Failure;
using KVMission::Utf8;
using KVMission::Visible;
namespace fs = std::filesystem;

struct RotateOptions {
  fs::path mission;
  int camera = 0;
  double angle = 0;  // degrees
  fs::path backup;   // empty for none
  double maxMegapixels = KVMission::Settings().maxMegapixels;
  bool allowOutside = false, yes = false, quiet = false;
};

/// @return an empty path when no backup is wanted
fs::path BackupFolder(const RotateOptions& options) {
  return options.backup.empty() ? fs::path() : options.backup / fmt::format("cam{}", options.camera);
}

/// In the mission's folder a backup would be the photos themselves, or a later run would take it for them.
void RefuseBackupAmongPhotos(const RotateOptions& options, const fs::path& photos) {
  std::error_code notThere;
  if (fs::equivalent(options.backup, options.mission, notThere) ||
      fs::equivalent(BackupFolder(options), photos, notThere))
    throw Failure(fmt::format("--backup \"{}\": a backup needs a folder apart from the photos", Utf8(options.backup)),
                  Failure::Reason::WrongUsage);
}

/// Keeps one name of each photo, so that it is turned once: its own, or else the first link to it.
std::vector<fs::path> EachOnce(const fs::path& folder, const std::vector<fs::path>& names, bool quiet) {
  const auto photoOf = [&](const fs::path& name) {
    std::error_code unknown;
    const fs::path photo = fs::canonical(folder / name, unknown);
    return unknown ? folder / name : photo;
  };
  std::map<fs::path, fs::path> nameOf;
  for (const bool links : {false, true}) {
    for (const auto& name : names) {
      if (fs::is_symlink(folder / name) == links) nameOf.try_emplace(photoOf(name), name);
    }
  }
  std::vector<fs::path> once;
  for (const auto& name : names) {
    const fs::path& taken = nameOf.at(photoOf(name));
    if (taken == name) {
      once.push_back(name);
    } else if (!quiet) {
      ShowText(fmt::format("kvmission: warning: {}: skipped: it leads to the same photo as {}\n", Visible(Utf8(name)),
                           Visible(Utf8(taken))));
    }
  }
  return once;
}

/// Rotates photos in the order of their names: after an interrupt, all before one name are rotated and the rest are not.
class Rotation {
 public:
  explicit Rotation(const RotateOptions& options) : options_(options), backup_(BackupFolder(options)) {}

  ExitCode Run(const fs::path& folder, const std::vector<fs::path>& names) {
    try {
      for (const auto& name : names) {
        ThrowIfInterrupted();
        Rotate(folder, name);
      }
    } catch (...) {
      SayHowFar(names);
      throw;
    }
    if (failed_ == 0) return ExitCode::Good;
    return done_ == 0 ? ExitCode::Failed : ExitCode::Unmatched;
  }

 private:
  /// @throws only what ends the run
  void Rotate(const fs::path& folder, const fs::path& name) {
    try {
      KVMission::RotatePhoto(folder / name, options_.angle, backup_, options_.maxMegapixels);
    } catch (const Failure& failure) {
      Say(name, failure.what());
      return;
    }
    ++done_;
    if (options_.quiet) return;
    const std::string line = PathForOutput(folder / name) + '\n';
    // Every rotated photo is reported at once; if that is impossible, the run ends.
    if (std::fputs(line.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
      throw Failure("standard output: " + std::generic_category().message(errno));
  }

  void Say(const fs::path& name, const std::string& reason) {
    ++failed_;
    SayError(fmt::format("{}: not rotated: {}", Utf8(name), reason));
  }

  void SayHowFar(const std::vector<fs::path>& names) const {
    const std::size_t next = done_ + failed_;
    SayError(fmt::format("{} of {} photo{} rotated, {} failed{}", done_, names.size(), names.size() == 1 ? "" : "s",
                         failed_, next < names.size() ? "; as they were: from " + Utf8(names[next]) + " on" : ""));
  }

  const RotateOptions& options_;
  fs::path backup_;
  std::size_t done_ = 0, failed_ = 0;
};

ExitCode RotateCamera(const RotateOptions& options) {
  CatchInterrupts();
  Messages messages(options.quiet ? Verbosity::Quiet : Verbosity::Normal);
  const fs::path folder = KVMission::FindCameraFolder(options.mission, options.camera, options.allowOutside, messages);
  RefuseBackupAmongPhotos(options, folder);
  const auto names = EachOnce(folder, KVMission::PhotosIn(folder), options.quiet);
  if (names.empty()) throw Failure(Utf8(folder) + ": no photos in it");
  const std::string question =
      fmt::format("Rotate {} photo{} in {} in place by {} degrees{}?", names.size(), names.size() == 1 ? "" : "s",
                  Utf8(folder), options.angle, options.backup.empty() ? ", without a backup" : "");
  if (!options.yes && !Agrees("photos are rotated in place", question)) throw Failure("nothing was rotated");
  return Rotation(options).Run(folder, names);
}

}  // namespace

void AddRotateCommand(CLI::App& app, ExitCode& exitCode) {
  CLI::App& command = *app.add_subcommand("rotate", "Rotate the photos of one camera in place");
  const auto options = std::make_shared<RotateOptions>();
  AddPath(command, "MISSION", options->mission, "mission folder")->type_name("FOLDER")->required();
  command.add_option("--camera", options->camera, "camera whose photos are rotated")
      ->check(CLI::IsMember({1, 2}))
      ->required();
  const auto storeAngle = [options](const std::string& text) {
    const auto angle = ReadNumber(text);
    if (!angle || std::fmod(*angle, 360.0) == 0)
      throw CLI::ValidationError("--angle", "must be a number of degrees that turns something");
    options->angle = *angle;
  };
  command.add_option_function<std::string>("--angle", storeAngle, "degrees, positive counter-clockwise")
      ->type_name("DEGREES")
      ->required();
  AddFolder(command, "--backup", options->backup, "folder that receives the photos as they were");
  AddMaxMegapixelsOption(command, options->maxMegapixels);
  command.add_flag("--allow-outside", options->allowOutside,
                   "rotate photos in a folder that mission.toml names outside of the mission folder");
  command.add_flag("--yes", options->yes, "do not ask");
  command.add_flag("-q,--quiet", options->quiet, "say nothing but errors");
  command.callback([options, &exitCode] { exitCode = RotateCamera(*options); });
}

}  // namespace kv::command
