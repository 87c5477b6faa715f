#include "commands/Commands.h"

void kv::command::AddCommands(CLI::App& app, ExitCode& exitCode) {
  app.name("kvmission");
  app.description("From what a mapping sensor recorded to located photos and GIS layers");
  app.allow_windows_style_options(false);  // "/" begins a path on every system
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("kvmission ") + KVMission::Version());
  AddSimulateCommand(app, exitCode);
  AddRunCommand(app, exitCode);
  AddInfoCommand(app, exitCode);
  AddTransformCommand(app, exitCode);
  AddGradeCommand(app, exitCode);
  AddRotateCommand(app, exitCode);
  AddExportCommand(app, exitCode);
  AddGeotagCommand(app, exitCode);
}
