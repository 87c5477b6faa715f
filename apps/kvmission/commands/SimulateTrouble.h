#pragma once

#include <fmt/format.h>

#include <string>

#include "commands/Commands.h"
#include "simulation/MissionOptions.h"

namespace kv::command {

/// Accepts numbers as the other commands do. CLI11 alone would also take "nan".
inline CLI::Validator InRange(double least, double most) {
  const auto check = [=](const std::string& text) {
    const auto number = ReadNumber(text);
    const bool holds = number && *number >= least && *number <= most;
    return holds ? std::string() : fmt::format("not a number from {} to {}: {}", least, most, text);
  };
  return {check, fmt::format("[{} - {}]", least, most), "range"};
}

/// Adds the options of a simulated mission's trouble. They store into `mission`, which must outlive the parsing.
void AddTroubleOptions(CLI::App& command, simulation::MissionOptions& mission);

/// @throws CLI::ValidationError if the command line has an option that does not apply to a drone's mission
void RefuseSensorTrouble(const CLI::App& command);

}  // namespace kv::command
