#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <iostream>
#include <sstream>
#include <system_error>

#include "base/Failure.h"
#include "base/Log.h"
#include "commands/Commands.h"
#include "platform/System.h"

namespace {

using kv::mission::ExitCode;

int Run(int argc, char** argv) {
  CLI::App app("From what a mapping sensor recorded to located photos and GIS layers", "kvmission");
  int exitCode = 0;
  app.require_subcommand(1);
  app.set_version_flag("--version", "kvmission " KVMISSION_VERSION);
  AddSimulateCommand(app, exitCode);
  AddRunCommand(app, exitCode);
  AddInfoCommand(app, exitCode);
  AddTransformCommand(app, exitCode);
  AddGradeCommand(app, exitCode);
  AddRotateCommand(app, exitCode);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::ostringstream complaint;
    const bool isGood = app.exit(error, std::cout, complaint) == 0;  // the help that was asked for is no complaint
    kv::mission::ShowText(kv::mission::Visible(complaint.str(), '\n'));
    return static_cast<int>(isGood ? ExitCode::Good : ExitCode::WrongUsage);
  }
  return exitCode;
}

/// Results that did not reach their reader are no success.
int Flushed(int exitCode) {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return exitCode;
  kv::mission::SayError("standard output: " + std::generic_category().message(errno));
  return static_cast<int>(ExitCode::Failed);
}

}  // namespace

int main(int argc, char** argv) {
  kv::mission::SecureStandardStreams();
  kv::mission::KeepFreedMemory();
  kv::mission::UseUtcCalendar();
  try {
    return Flushed(Run(argc, argv));
  } catch (const kv::mission::Failure& failure) {
    kv::mission::SayError(failure.what());
    return static_cast<int>(failure.Code());
  } catch (const std::exception& error) {
    kv::mission::SayError(error.what());
    return static_cast<int>(ExitCode::Failed);
  }
}
