#include <fmt/format.h>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/Commands.h"

namespace kv::command {
namespace {

using KVMission::Failure;

struct InfoOptions {
  std::vector<std::filesystem::path> files;
  KVMission::Settings settings;  // of which the gap counts
  bool json = false;
};

/// Reports a file that cannot be described; the others are still described.
std::optional<KVMission::FileDescription> Describe(const std::filesystem::path& file, double maxGapSeconds) {
  Messages messages(Verbosity::Quiet);  // findings are part of the description
  try {
    return KVMission::DescribeFile(file, maxGapSeconds, messages);
  } catch (const Failure& failure) {
    if (failure.Why() == Failure::Reason::Stopped) throw;
    SayError(failure.what());
  } catch (const std::exception& fault) {
    SayError(fmt::format("{}: {}", KVMission::Utf8(file), fault.what()));
  }
  return std::nullopt;
}

ExitCode Inform(const InfoOptions& options) {
  CatchInterrupts();
  if (options.files.empty()) {
    fmt::print("{}", options.json ? KVMission::GeodeticDataJson() : KVMission::GeodeticDataText());
    return ExitCode::Good;
  }
  std::vector<KVMission::FileDescription> all;
  ExitCode code = ExitCode::Good;
  for (const auto& file : options.files) {
    auto description = Describe(file, options.settings.maxGapSeconds);
    if (!description) {
      code = ExitCode::Failed;
    } else if (options.json) {
      all.push_back(std::move(*description));
    } else {
      fmt::print("{}", KVMission::DescriptionText(*description));
    }
  }
  if (options.json) fmt::print("{}", KVMission::DescriptionJson(all));
  return code;
}

}  // namespace

void AddInfoCommand(CLI::App& app, ExitCode& exitCode) {
  CLI::App& command = *app.add_subcommand("info", "Say what files are and hold");
  const auto options = std::make_shared<InfoOptions>();
  AddPaths(command, "FILE", options->files,
           "logs, event and timestamp files, POS and orientation files, exports, photos, Shapefiles; none: "
           "the geodetic data in use")
      ->type_name("");
  const auto storeGap = [options](const std::string& text) { SetFromOption(options->settings, "max-gap", text); };
  command
      .add_option_function<std::string>(
          "--max-gap", storeGap,
          fmt::format("longest pause that is not a gap (default {})", options->settings.maxGapSeconds))
      ->type_name("SECONDS");
  command.add_flag("--json", options->json, "print JSON: an array with an object for each file");
  command.callback([options, &exitCode] { exitCode = Inform(*options); });
}

}  // namespace kv::command
