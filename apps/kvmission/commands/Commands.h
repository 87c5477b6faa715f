#pragma once

#include <CLI/App.hpp>

/// Each function adds one subcommand to the command line. Its callback does the work and stores the exit code.
void AddRunCommand(CLI::App& app, int& exitCode);
void AddInfoCommand(CLI::App& app, int& exitCode);
void AddTransformCommand(CLI::App& app, int& exitCode);
void AddGradeCommand(CLI::App& app, int& exitCode);
void AddRotateCommand(CLI::App& app, int& exitCode);
void AddSimulateCommand(CLI::App& app, int& exitCode);
