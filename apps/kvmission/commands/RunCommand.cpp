#include <fmt/format.h>
#include <cstdio>
#include <memory>

#include "commands/Commands.h"
#include "commands/MissionOptions.h"

namespace kv::command {
namespace {

using KVMission::Failure;
using KVMission::Settings;

struct RunOptions {
  MissionOptions mission;
  bool json = false;
  bool dryRun = false;
  CommonOptions common;
};

ExitCode Run(const RunOptions& options) {
  Settings settings = SettingsFor(options.mission);
  if (options.dryRun) settings.output.clear();
  if (settings.output.empty() && !options.dryRun)
    throw Failure("give a folder for the results with --output, or --dry-run", Failure::Reason::WrongUsage);
  RequireMission(settings);
  CatchInterrupts();
  Messages messages(options.common.Wanted());
  const KVMission::Mission mission = KVMission::RunMission(settings, messages);
  messages.ClearProgress();
  if (options.json) {
    fmt::print("{}", KVMission::SummaryJson(mission));
  } else if (!options.common.quiet) {
    fmt::print("{}", KVMission::SummaryText(mission));
  }
  if (mission.doubtful) return ExitCode::Doubtful;
  return mission.complete ? ExitCode::Good : ExitCode::Unmatched;
}

}  // namespace

void AddRunCommand(CLI::App& app, ExitCode& exitCode) {
  CLI::App& command = *app.add_subcommand("run", "Turn a mission into GIS layers and a summary");
  const auto options = std::make_shared<RunOptions>();
  AddMissionOptions(command, options->mission, {"allow-outside"});
  command.add_flag("--dry-run", options->dryRun, "read, pair and report, but write nothing");
  command.add_flag("--json", options->json, "print the summary as JSON");
  AddVerbosity(command, options->common);
  command.callback([options, &exitCode] { exitCode = Run(*options); });
}

}  // namespace kv::command
