#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "terminal/Messages.h"

namespace kv::command {

/// Makes an empty `app` the whole command line of kvmission. `exitCode` must outlive the parsing.
void AddCommands(CLI::App& app, ExitCode& exitCode);

/// Each function adds one subcommand to the command line. Its callback does the work and stores the exit code.
void AddRunCommand(CLI::App& app, ExitCode& exitCode);
void AddInfoCommand(CLI::App& app, ExitCode& exitCode);
void AddTransformCommand(CLI::App& app, ExitCode& exitCode);
void AddGradeCommand(CLI::App& app, ExitCode& exitCode);
void AddRotateCommand(CLI::App& app, ExitCode& exitCode);
void AddExportCommand(CLI::App& app, ExitCode& exitCode);
void AddGeotagCommand(CLI::App& app, ExitCode& exitCode);
void AddSimulateCommand(CLI::App& app, ExitCode& exitCode);

/// Options that several commands have.
struct CommonOptions {
  unsigned jobs = 0;
  bool quiet = false, verbose = false;

  Verbosity Wanted() const { return quiet ? Verbosity::Quiet : verbose ? Verbosity::Verbose : Verbosity::Normal; }
};
inline void AddJobsOption(CLI::App& command, CommonOptions& options, const std::string& what) {
  command.add_option("--jobs", options.jobs, what + " (default: as many as there are processors)")
      ->check(CLI::Range(1u, 1024u));
}
inline void AddMaxMegapixelsOption(CLI::App& command, double& megapixels) {
  command.add_option("--max-megapixels", megapixels, "a photo that claims more is not decoded")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
}
inline void AddVerbosity(CLI::App& command, CommonOptions& options) {
  auto* quiet = command.add_flag("-q,--quiet", options.quiet, "say nothing but errors (and JSON when asked for)");
  command.add_flag("-v,--verbose", options.verbose, "say more")->excludes(quiet);
}

/// The path in an argument: UTF-8 on Windows, the bytes as they are elsewhere.
inline std::filesystem::path PathFrom(const std::string& argument) {
  return std::u8string(argument.begin(), argument.end());
}
inline CLI::Option* AddPath(CLI::App& command, const std::string& option, std::filesystem::path& path,
                            const std::string& help) {
  const auto store = [&path](const std::string& argument) { path = PathFrom(argument); };
  return command.add_option_function<std::string>(option, store, help);
}
/// An empty name would be no folder, and photos would have no backup.
inline void AddFolder(CLI::App& command, const std::string& option, std::filesystem::path& folder,
                      const std::string& help) {
  const auto complaint = [](const std::string& name) { return std::string(name.empty() ? "must not be empty" : ""); };
  AddPath(command, option, folder, help)->check(complaint)->type_name("FOLDER");
}
inline CLI::Option* AddPaths(CLI::App& command, const std::string& option, std::vector<std::filesystem::path>& paths,
                             const std::string& help) {
  const auto store = [&paths](const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) paths.push_back(PathFrom(argument));
  };
  return command.add_option_function<std::vector<std::string>>(option, store, help);
}

/// A finite decimal number that is the whole text, whatever the locale.
inline std::optional<double> ReadNumber(const std::string& text) {
  const char *const end = text.data() + text.size(), *begin = text.data() + (text.starts_with('+') ? 1 : 0);
  double number = 0;
  if (begin != text.data() && text.starts_with("+-")) return std::nullopt;
  const auto [read, error] = std::from_chars(begin, end, number);
  return error == std::errc() && read == end && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

/// Stores a setting that an option of its name gives. @throws CLI::ValidationError
inline void SetFromOption(KVMission::Settings& settings, const std::string& key, const std::string& text) {
  try {
    KVMission::Set(settings, key, text);
  } catch (const KVMission::Failure& failure) {
    throw CLI::ValidationError("--" + std::string(failure.what()));
  }
}

}  // namespace kv::command
