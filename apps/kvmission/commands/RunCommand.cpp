#include <fmt/format.h>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands/Commands.h"

namespace kv::command {
namespace {

using KVMission::Failure;
using KVMission::Settings;
using Type = KVMission::SettingKey::Type;

struct RunOptions {
  std::string mission;
  std::vector<std::pair<std::string, std::string>> given;  // settings by key
  bool json = false;
  bool dryRun = false;
  CommonOptions common;
};

/// Every setting of the table, checked as it is given.
void AddSettings(CLI::App& command, RunOptions& options) {
  for (const auto& key : KVMission::SettingKeys()) {
    const auto store = [name = std::string(key.name), &options](const std::string& text) {
      Settings trial;
      SetFromOption(trial, name, text);
      options.given.emplace_back(name, text);
    };
    const std::string option = (std::string_view(key.name) == "output" ? "-o,--" : "--") + std::string(key.name);
    if (key.type == Type::Flag) {
      command.add_flag_function(
          option, [store](std::int64_t count) { store(count > 0 ? "true" : "false"); }, key.help);
    } else if (key.isList) {
      const auto storeAll = [store](const std::vector<std::string>& texts) {
        std::for_each(texts.begin(), texts.end(), store);
      };
      command.add_option_function<std::vector<std::string>>(option, storeAll, key.help)
          ->type_name(key.placeholder)
          ->allow_extra_args(false);
    } else {
      command.add_option_function<std::string>(option, store, key.help)->type_name(key.placeholder);
    }
  }
}

/// The command line decides before the mission.toml.
Settings SettingsFor(const RunOptions& options) {
  Settings settings = options.mission.empty() ? Settings() : KVMission::SettingsOf(options.mission);
  const auto isTrajectory = [](const auto& entry) { return entry.first == "trajectory"; };
  if (std::any_of(options.given.begin(), options.given.end(), isTrajectory))
    settings.trajectory.clear(), settings.otherTrajectory.clear();
  for (const auto& [key, text] : options.given) KVMission::Set(settings, key, text);
  if (options.dryRun) settings.output.clear();
  return settings;
}

ExitCode Run(const RunOptions& options) {
  const Settings settings = SettingsFor(options);
  if (settings.output.empty() && !options.dryRun)
    throw Failure("give a folder for the results with --output, or --dry-run", Failure::Reason::WrongUsage);
  if (settings.mission.empty() && settings.trajectory.empty() && settings.timestamps.empty())
    throw Failure("give a mission folder, --trajectory FILE or --timestamps FILE", Failure::Reason::WrongUsage);
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
  command
      .add_option("MISSION", options->mission,
                  "mission folder; its files are found by content and name, or named in its mission.toml by the "
                  "options' names")
      ->type_name("FOLDER");
  AddSettings(command, *options);
  command.add_flag("--dry-run", options->dryRun, "read, pair and report, but write nothing");
  command.add_flag("--json", options->json, "print the summary as JSON");
  AddVerbosity(command, options->common);
  command.callback([options, &exitCode] { exitCode = Run(*options); });
}

}  // namespace kv::command
