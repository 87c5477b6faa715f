#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "base/Log.h"
#include "commands/Commands.h"
#include "mission/Settings.h"
#include "platform/FileNames.h"
#include "report/FileReport.h"
#include "report/GeodeticReport.h"
#include "text/Numbers.h"

namespace kv::mission {
namespace {

struct InfoOptions {
  std::vector<std::string> files;
  double maxGap = kDefaultMaxGap;
  bool json = false;
};

/// A file that cannot be described does not keep the others from it.
std::optional<Json> Describe(const std::string& file, double maxGap) {
  try {
    return DescribeFile(file, maxGap);
  } catch (const Failure& failure) {
    if (failure.Code() == ExitCode::Interrupted) throw;
    SayError(failure.what());
  } catch (const std::exception& fault) {
    SayError(fmt::format("{}: {}", Utf8(std::filesystem::path(file)), fault.what()));
  }
  return std::nullopt;
}

ExitCode InformOfGeodeticData(bool asJson) {
  const Json data = DescribeGeodeticData();
  fmt::print("{}", asJson ? Written(Json::array({data})) : GeodeticText(data));
  return ExitCode::Good;
}

ExitCode Inform(const InfoOptions& options) {
  CatchInterrupts();
  if (options.files.empty()) return InformOfGeodeticData(options.json);
  ExitCode code = ExitCode::Good;
  Json all = Json::array();
  for (const auto& file : options.files) {
    auto description = Describe(file, options.maxGap);
    if (!description) {
      code = ExitCode::Failed;
    } else if (options.json) {
      all.push_back(std::move(*description));
    } else {
      fmt::print("{}", DescriptionText(*description));
    }
  }
  if (options.json) fmt::print("{}", Written(all));
  return code;
}

}  // namespace
}  // namespace kv::mission

void AddInfoCommand(CLI::App& app, int& exitCode) {
  using namespace kv::mission;
  CLI::App& command = *app.add_subcommand("info", "Say what files are and hold");
  const auto options = std::make_shared<InfoOptions>();
  command.add_option("FILE", options->files,
                     "logs, event and timestamp files, POS and orientation files, exports, photos, Shapefiles; none: "
                     "the geodetic data in use");
  const auto storeGap = [options](const std::string& text) {
    const auto seconds = kv::FiniteNumber(text);
    if (!seconds || *seconds <= 0) throw CLI::ValidationError("--max-gap", "must be a positive number of seconds");
    options->maxGap = *seconds;
  };
  command.add_option_function<std::string>("--max-gap", storeGap, "longest pause that is no gap (default 2)")
      ->type_name("SECONDS");
  command.add_flag("--json", options->json, "print JSON: an array with an object for each file");
  command.callback([options, &exitCode] { exitCode = static_cast<int>(Inform(*options)); });
}
