#include <fmt/format.h>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "commands/Commands.h"
#include "terminal/Console.h"

namespace kv::command {
namespace {

using Paths = std::vector<std::filesystem::path>;
using Grades = std::vector<KVMission::Grade>;

struct GradeOptions {
  Paths photos;
  double maxMegapixels = KVMission::GradeOptions().maxMegapixels;
  bool json = false;
  CommonOptions common;
};

ExitCode NameFailures(const Paths& photos, const Grades& grades) {
  std::size_t failures = 0, damaged = 0;
  for (std::size_t i = 0; i < photos.size(); ++i) {
    const auto& [sharpness, complaint, damage] = grades[i];
    const std::string photo = KVMission::Utf8(photos[i]);
    if (!complaint.empty())
      ++failures, SayError(fmt::format("{}: not graded: {}", photo, complaint));
    else if (!damage.empty())
      ++damaged, SayError(fmt::format("{}: damaged, so the sharpness may be wrong: {}", photo, damage));
  }
  if (failures + damaged == 0) return ExitCode::Good;
  return failures == grades.size() ? ExitCode::Failed : ExitCode::Unmatched;
}

/// A folder stands for the photos in it.
Paths PhotosAt(const Paths& given) {
  Paths photos;
  for (const auto& path : given) {
    if (path.extension() == ".zip")
      throw KVMission::Failure(KVMission::Utf8(path) + ": a ZIP file; unzip it",
                               KVMission::Failure::Reason::WrongUsage);
    if (!std::filesystem::is_directory(path)) {
      photos.push_back(path);
      continue;
    }
    const Paths inside = KVMission::PhotosIn(path);
    if (inside.empty()) throw KVMission::Failure(KVMission::Utf8(path) + ": a folder without JPEG photos");
    for (const auto& name : inside) photos.push_back(path / name);
  }
  return photos;
}

ExitCode GradeFiles(const GradeOptions& options) {
  CatchInterrupts();
  Messages messages(options.common.Wanted());
  const Paths photos = PhotosAt(options.photos);
  const Grades grades = KVMission::GradePhotos(photos, {options.common.jobs, options.maxMegapixels}, messages);
  messages.ClearProgress();
  if (options.json) {
    fmt::print("{}", KVMission::GradesJson(photos, grades));
  } else {
    fmt::print("{}", KVMission::GradesCsv(photos, grades, IsTerminal(stdout)));
  }
  return NameFailures(photos, grades);
}

}  // namespace

void AddGradeCommand(CLI::App& app, ExitCode& exitCode) {
  CLI::App& command = *app.add_subcommand("grade", "Tell how sharp photos are");
  const auto options = std::make_shared<GradeOptions>();
  AddPaths(command, "PHOTO", options->photos, "photos, or folders of them; a larger sharpness is sharper")
      ->type_name("FILE|FOLDER")
      ->required();
  AddJobsOption(command, options->common, "photos graded at a time");
  AddMaxMegapixelsOption(command, options->maxMegapixels);
  command.add_flag("--json", options->json, "print JSON: an array with an object for each photo");
  command.add_flag("-q,--quiet", options->common.quiet, "show no progress");
  command.callback([options, &exitCode] { exitCode = GradeFiles(*options); });
}

}  // namespace kv::command
