#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "base/Log.h"
#include "commands/Commands.h"
#include "commands/JobsOption.h"
#include "photos/Grading.h"
#include "platform/FileNames.h"
#include "report/Json.h"
#include "text/Csv.h"

namespace kv::mission {
namespace {

struct GradeOptions {
  std::vector<std::string> photos;
  unsigned jobs = 0;
  bool json = false, quiet = false;
};

void PrintCsv(const std::vector<std::string>& photos, const std::vector<Grade>& grades) {
  fmt::print("path,sharpness\n");
  for (std::size_t i = 0; i < photos.size(); ++i) {
    if (!grades[i].complaint.empty()) continue;
    std::string path;
    AppendCsvField(PathForOutput(photos[i]), path);
    fmt::print("{},{}\n", path, grades[i].sharpness);
  }
}

void PrintJson(const std::vector<std::string>& photos, const std::vector<Grade>& grades) {
  Json all = Json::array();
  for (std::size_t i = 0; i < photos.size(); ++i) {
    Json photo = {{"path", Utf8(std::filesystem::path(photos[i]))}, {"sharpness", grades[i].sharpness}};
    if (!grades[i].complaint.empty()) photo.update({{"sharpness", nullptr}, {"error", grades[i].complaint}});
    all.push_back(std::move(photo));
  }
  fmt::print("{}", Written(all));
}

/// @return how many photos could not be graded
std::size_t NameFailures(const std::vector<std::string>& photos, const std::vector<Grade>& grades) {
  std::size_t failures = 0;
  for (std::size_t i = 0; i < photos.size(); ++i) {
    if (grades[i].complaint.empty()) continue;
    ++failures;
    SayError(fmt::format("{}: {}", Utf8(std::filesystem::path(photos[i])), grades[i].complaint));
  }
  return failures;
}

ExitCode GradeFiles(const GradeOptions& options) {
  CatchInterrupts();
  const Log log(options.quiet ? Verbosity::Quiet : Verbosity::Normal);
  std::vector<std::wstring> paths;
  for (const auto& photo : options.photos) paths.push_back(WidePath(photo));
  const auto grades = GradePhotos(paths, options.jobs, log);
  options.json ? PrintJson(options.photos, grades) : PrintCsv(options.photos, grades);
  const std::size_t failures = NameFailures(options.photos, grades);
  if (failures == 0) return ExitCode::Good;
  return failures == grades.size() ? ExitCode::Failed : ExitCode::Unmatched;
}

}  // namespace
}  // namespace kv::mission

void AddGradeCommand(CLI::App& app, int& exitCode) {
  using namespace kv::mission;
  CLI::App& command = *app.add_subcommand("grade", "Tell how sharp photos are");
  const auto options = std::make_shared<GradeOptions>();
  command.add_option("PHOTO", options->photos, "photos; a larger sharpness is sharper")->required();
  AddJobsOption(command, options->jobs);
  command.add_flag("--json", options->json, "print JSON: an array with an object for each photo");
  command.add_flag("-q,--quiet", options->quiet, "show no progress");
  command.callback([options, &exitCode] { exitCode = static_cast<int>(GradeFiles(*options)); });
}
