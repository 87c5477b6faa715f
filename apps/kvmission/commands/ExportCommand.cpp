#include <fmt/format.h>
#include <algorithm>
#include <memory>

#include "commands/MissionOptions.h"

namespace kv::command {
namespace {

using KVMission::Failure;

constexpr const char* kAll = "odm,metashape,pix4d,opensfm,missionplanner";

struct ExportOptions {
  MissionOptions mission;
  CommonOptions common;
};

ExitCode Export(const ExportOptions& options) {
  KVMission::Settings settings = SettingsFor(options.mission);
  const auto& given = options.mission.given;
  const auto isOutputs = [](const auto& entry) { return entry.first == "outputs"; };
  if (std::none_of(given.begin(), given.end(), isOutputs)) KVMission::Set(settings, "outputs", kAll);
  settings.grade = false;
  if (settings.output.empty()) throw Failure("give a folder for the files with --output", Failure::Reason::WrongUsage);
  RequireMission(settings);
  CatchInterrupts();
  Messages messages(options.common.Wanted());
  const KVMission::Mission mission = KVMission::RunMission(settings, messages);
  messages.ClearProgress();
  if (mission.doubtful) return ExitCode::Doubtful;
  if (PlacedPhotos(mission) == 0) throw Failure("no photo has a place: nothing was exported");
  return mission.complete ? ExitCode::Good : ExitCode::Unmatched;
}

}  // namespace

void AddExportCommand(CLI::App& app, ExitCode& exitCode) {
  CLI::App& command = *app.add_subcommand("export", "Write a mission's places for programs for photogrammetry");
  const auto options = std::make_shared<ExportOptions>();
  AddMissionOptions(command, options->mission,
                    {"pos", "tolerance", "blur-factor", "no-sharpness", "thumbnails", "allow-outside"});
  AddVerbosity(command, options->common);
  command.footer(fmt::format("Without --outputs: {}.", kAll));
  command.callback([options, &exitCode] { exitCode = Export(*options); });
}

}  // namespace kv::command
