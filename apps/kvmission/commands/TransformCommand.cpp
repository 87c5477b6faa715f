#include <fmt/format.h>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "commands/Commands.h"

namespace kv::command {
namespace {

using KVMission::Failure;

struct TransformOptions {
  std::filesystem::path pos, output;
  std::string target;
  bool overwrite = false, json = false;
  CommonOptions common;
};

ExitCode Transform(const TransformOptions& options) {
  const bool toStandardOutput = options.output.empty();
  if (options.json && toStandardOutput)
    throw Failure("--json needs --output: standard output has the table", Failure::Reason::WrongUsage);
  CatchInterrupts();
  Messages messages(options.common.Wanted());
  // Write errors are checked at the end of the command.
  const auto write = [](const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); };
  const auto points = KVMission::TransformPos(
      {options.pos, options.target, options.output, options.common.jobs, options.overwrite}, write, messages);
  messages.ClearProgress();
  if (options.json) {
    fmt::print("{}", KVMission::PosJson(points));
  } else if (!options.common.quiet) {
    toStandardOutput ? ShowText(KVMission::PosText(points)) : fmt::print("{}", KVMission::PosText(points));
  }
  return points.IsComplete() ? ExitCode::Good : ExitCode::Unmatched;
}

}  // namespace

void AddTransformCommand(CLI::App& app, ExitCode& exitCode) {
  CLI::App& command = *app.add_subcommand("transform", "Transform a POS file into a coordinate system");
  const auto options = std::make_shared<TransformOptions>();
  AddPath(command, "POSFILE", options->pos, "GPS week, seconds, latitude, longitude, height and ten more columns")
      ->type_name("FILE")
      ->required();
  command.add_option("--target", options->target, "coordinate system: WKT, a file with it, or codes")
      ->type_name("WKT|FILE|EPSG:n[+m]")
      ->required();
  AddPath(command, "-o,--output", options->output, "points.shp, .csv or .xyz (default: CSV on standard output)")
      ->type_name("FILE");
  AddJobsOption(command, options->common, "threads that transform samples");
  command.add_flag("--overwrite", options->overwrite, "replace the output of an earlier run");
  command.add_flag("--json", options->json, "print the report as JSON; needs --output");
  AddVerbosity(command, options->common);
  command.callback([options, &exitCode] { exitCode = Transform(*options); });
}

}  // namespace kv::command
