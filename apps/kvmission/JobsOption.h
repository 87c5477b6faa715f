#pragma once

#include <CLI/App.hpp>

#include "pictures/Grading.h"

namespace kv::mission {

inline void AddJobsOption(CLI::App& command, unsigned& jobs) {
  command.add_option("--jobs", jobs, "photos graded at a time (default: as many as there are processors)")
      ->check(CLI::Range(1u, kMostJobs));
}

}  // namespace kv::mission
