#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "base/Log.h"
#include "commands/Commands.h"
#include "mission/MissionFolder.h"
#include "photos/PhotoFolder.h"
#include "photos/PhotoRotation.h"
#include "platform/FileNames.h"
#include "platform/System.h"
#include "text/Numbers.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

struct RotateOptions {
  std::string mission;
  int camera = 0;
  double angle = 0;  // degrees
  std::optional<std::string> backup;
  bool yes = false, quiet = false;
};

/// @return nothing when no backup is wanted
std::optional<fs::path> BackupFolder(const RotateOptions& options) {
  if (!options.backup) return std::nullopt;
  return fs::path(*options.backup) / fmt::format("cam{}", options.camera);
}

/// In the mission's folder a backup would be the photos themselves, or a later run would take it for them.
void RefuseBackupAmongPhotos(const RotateOptions& options, const fs::path& photos) {
  std::error_code notThere;
  if (options.backup && (options.backup->empty() || fs::equivalent(*options.backup, options.mission, notThere) ||
                         fs::equivalent(*BackupFolder(options), photos, notThere)))
    throw Failure(fmt::format("--backup \"{}\": a backup needs a folder apart from the photos", *options.backup),
                  ExitCode::WrongUsage);
}

/// A photo is turned once, however many names in the folder lead to it: its own name stays, of links the first.
std::vector<fs::path> EachOnce(const fs::path& folder, const std::vector<fs::path>& names, Log& log) {
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
    } else {
      log.Warn("{}: skipped: it leads to the same photo as {}", Utf8(name), Utf8(taken));
    }
  }
  return once;
}

/// Asks the user at the terminal.
bool Agrees(const RotateOptions& options, std::size_t photos, const fs::path& folder) {
  if (!StandardInputIsTerminal())
    throw Failure("photos are rotated in place: --yes says that this is meant", ExitCode::WrongUsage);
  ShowText(fmt::format("Rotate {} in {} in place by {} degrees{}? [y/N] ", Counted(photos, "photo"),
                       Visible(Utf8(folder)), options.angle, options.backup ? "" : ", without a backup"));
  std::string answer;
  std::getline(std::cin, answer);
  ThrowIfInterrupted();
  return answer == "y" || answer == "Y" || answer == "yes";
}

/// Photos in order of their names, so that an interrupt leaves those before one rotated and the others as they were.
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
      RotatePhoto(folder / name, options_.angle, backup_);
    } catch (const Failure& failure) {
      if (failure.Code() == ExitCode::Interrupted) throw;
      Say(name, failure.what());
      return;
    } catch (const fs::filesystem_error& error) {
      Say(name, error.code().message());
      return;
    }
    ++done_;
    if (options_.quiet) return;
    const std::string line = PathForOutput(folder / name) + '\n';
    // Whatever happens next, it is told; where nobody can be told any more, the run ends.
    if (std::fputs(line.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
      throw Failure("standard output: " + std::generic_category().message(errno));
  }

  void Say(const fs::path& name, const std::string& reason) {
    ++failed_;
    SayError(fmt::format("{}: not rotated: {}", Utf8(name), reason));
  }

  void SayHowFar(const std::vector<fs::path>& names) const {
    const std::size_t next = done_ + failed_;
    SayError(fmt::format("{} of {} rotated, {} failed{}", done_, Counted(names.size(), "photo"), failed_,
                         next < names.size() ? "; as they were: from " + Utf8(names[next]) + " on" : ""));
  }

  const RotateOptions& options_;
  std::optional<fs::path> backup_;
  std::size_t done_ = 0, failed_ = 0;
};

ExitCode RotateCamera(const RotateOptions& options) {
  CatchInterrupts();
  Log log(options.quiet ? Verbosity::Quiet : Verbosity::Normal);
  const fs::path folder = FindCameraFolder(options.mission, options.camera, log);
  RefuseBackupAmongPhotos(options, folder);
  const auto names = EachOnce(folder, PhotosIn(folder), log);
  if (names.empty()) throw Failure(Utf8(folder) + ": no photo in it");
  if (!options.yes && !Agrees(options, names.size(), folder)) throw Failure("nothing was rotated");
  return Rotation(options).Run(folder, names);
}

}  // namespace
}  // namespace kv::mission

void AddRotateCommand(CLI::App& app, int& exitCode) {
  using namespace kv::mission;
  CLI::App& command = *app.add_subcommand("rotate", "Rotate the photos of one camera in place");
  const auto options = std::make_shared<RotateOptions>();
  command.add_option("MISSION", options->mission, "mission folder")->type_name("FOLDER")->required();
  command.add_option("--camera", options->camera, "whose photos")->check(CLI::IsMember({1, 2}))->required();
  const auto storeAngle = [options](const std::string& text) {
    const auto angle = kv::FiniteNumber(text);
    if (!angle || std::fmod(*angle, 360.0) == 0)
      throw CLI::ValidationError("--angle", "must be a number of degrees that turns something");
    options->angle = *angle;
  };
  command.add_option_function<std::string>("--angle", storeAngle, "degrees, positive counter-clockwise")
      ->type_name("DEGREES")
      ->required();
  command.add_option("--backup", options->backup, "folder that receives the photos as they were")->type_name("FOLDER");
  command.add_flag("--yes", options->yes, "do not ask");
  command.add_flag("-q,--quiet", options->quiet, "say nothing but errors");
  command.callback([options, &exitCode] { exitCode = static_cast<int>(RotateCamera(*options)); });
}
