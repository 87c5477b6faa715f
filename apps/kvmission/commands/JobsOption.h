#pragma once

#include <CLI/App.hpp>
#include <string>

#include "photos/Grading.h"

namespace kv::mission {

inline void AddJobsOption(CLI::App& command, unsigned& jobs, const std::string& what = "photos graded at a time") {
  command.add_option("--jobs", jobs, what + " (default: as many as there are processors)")
      ->check(CLI::Range(1u, kMostJobs));
}

}  // namespace kv::mission
