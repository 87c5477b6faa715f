#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Commands.h"
#include "Failure.h"
#include "Interrupt.h"
#include "Log.h"
#include "System.h"
#include "field/Numbers.h"
#include "field/PhotoFolder.h"
#include "pictures/PhotoRotation.h"
#include "run/MissionFolder.h"

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

/// Asks the user at the terminal.
bool Agrees(const RotateOptions& options, std::size_t photos, const fs::path& folder) {
  if (!StandardInputIsTerminal())
    throw Failure("photos are rotated in place: --yes says that this is meant", ExitCode::WrongUsage);
  fmt::print(stderr, "Rotate {} in {} in place by {} degrees{}? [y/N] ", Counted(photos, "photo"), Utf8(folder),
             options.angle, options.backup ? "" : ", without a backup");
  std::string answer;
  std::getline(std::cin, answer);
  ThrowIfInterrupted();
  return answer == "y" || answer == "Y" || answer == "yes";
}

/// Photos in order of their names, so that an interrupt leaves those before one rotated and the others as they were.
class Rotation {
 public:
  explicit Rotation(const RotateOptions& options) : options_(options) {
    if (options.backup) backup_ = fs::path(*options.backup) / fmt::format("cam{}", options.camera);
  }

  ExitCode Run(const fs::path& folder, const std::vector<fs::path>& names) {
    for (const auto& name : names) {
      if (Interrupted()) SayInterrupted(name, names.size());
      ThrowIfInterrupted();
      Rotate(folder, name, names.size());
    }
    if (failed_ == 0) return ExitCode::Good;
    return done_ == 0 ? ExitCode::Failed : ExitCode::Unmatched;
  }

 private:
  void Rotate(const fs::path& folder, const fs::path& name, std::size_t all) {
    try {
      RotatePhoto(folder / name, options_.angle, backup_);
    } catch (const Failure& failure) {
      if (failure.Code() == ExitCode::Interrupted) {
        SayInterrupted(name, all);
        throw;
      }
      Say(name, failure.what());
      return;
    } catch (const fs::filesystem_error& error) {
      Say(name, error.code().message());
      return;
    }
    ++done_;
    if (options_.quiet) return;
    fmt::print("{}\n", (folder / name).string());
    std::fflush(stdout);  // whatever happens next, it is told
  }

  void Say(const fs::path& name, const std::string& reason) {
    ++failed_;
    SayError(fmt::format("{}: not rotated: {}", Utf8(name), reason));
  }

  void SayInterrupted(const fs::path& next, std::size_t all) const {
    SayError(fmt::format("{} of {} rotated, those named before {}; {} failed", done_, Counted(all, "photo"), Utf8(next),
                         failed_));
  }

  const RotateOptions& options_;
  std::optional<fs::path> backup_;
  std::size_t done_ = 0, failed_ = 0;
};

ExitCode RotateCamera(const RotateOptions& options) {
  CatchInterrupts();
  Log log(options.quiet ? Verbosity::Quiet : Verbosity::Normal);
  const fs::path folder = FindCameraFolder(options.mission, options.camera, log);
  const auto names = PhotosIn(folder);
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
    const auto angle = Decimal(text);
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
