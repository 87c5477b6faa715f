#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cstdio>
#include <memory>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "base/Log.h"
#include "commands/Commands.h"
#include "commands/JobsOption.h"
#include "mission/Mission.h"

namespace kv::mission {
namespace {

struct RunOptions {
  std::string mission, output;
  Settings settings;
  unsigned jobs = 0;
  bool overwrite = false, noSharpness = false, json = false, quiet = false, verbose = false;
};

void AddSettings(CLI::App& command, Settings& settings) {
  for (const auto& key : kSettingKeys) {
    const auto store = [&key, &settings](const std::string& text) {
      const std::string complaint = SetFromText(key.member, text, settings);
      if (!complaint.empty()) throw CLI::ValidationError(std::string("--") + key.name, complaint);
    };
    command.add_option_function<std::string>(std::string("--") + key.name, store, key.help)->type_name(key.placeholder);
  }
}

ExitCode Run(const RunOptions& options) {
  if (options.mission.empty() && !options.settings.trajectory && !options.settings.mrk)
    throw Failure("give a mission folder, --trajectory FILE or --mrk FILE", ExitCode::WrongUsage);
  if (options.output.empty()) throw Failure("--output: a path is missing", ExitCode::WrongUsage);
  CatchInterrupts();
  Log log(options.quiet ? Verbosity::Quiet : options.verbose ? Verbosity::Verbose : Verbosity::Normal);
  RunRequest request{{}, options.settings, options.output, options.overwrite, !options.noSharpness, options.jobs};
  if (!options.mission.empty()) request.mission = options.mission;
  const Summary summary = RunMission(request, log);
  if (options.json) {
    fmt::print("{}", SummaryJson(summary));
  } else if (!options.quiet) {
    fmt::print("{}", SummaryText(summary));
  }
  return summary.IsComplete() ? ExitCode::Good : ExitCode::Unmatched;
}

}  // namespace
}  // namespace kv::mission

void AddRunCommand(CLI::App& app, int& exitCode) {
  using namespace kv::mission;
  CLI::App& command = *app.add_subcommand("run", "Turn a mission into GIS layers and a summary");
  const auto options = std::make_shared<RunOptions>();
  command
      .add_option("MISSION", options->mission,
                  "mission folder; its files are found by content and name, or named in "
                  "its mission.toml by the options' names")
      ->type_name("FOLDER");
  command.add_option("-o,--output", options->output, "folder for the layers and summary.json")
      ->type_name("FOLDER")
      ->required();
  AddSettings(command, options->settings);
  command.add_flag("--overwrite", options->overwrite, "replace the results of an earlier run");
  command.add_flag("--no-sharpness", options->noSharpness, "do not grade the photos");
  AddJobsOption(command, options->jobs);
  command.add_flag("--json", options->json, "print the summary as JSON");
  auto* quiet = command.add_flag("-q,--quiet", options->quiet, "say nothing but errors (and JSON when asked for)");
  command.add_flag("-v,--verbose", options->verbose, "say more")->excludes(quiet);
  command.callback([options, &exitCode] { exitCode = static_cast<int>(Run(*options)); });
}
