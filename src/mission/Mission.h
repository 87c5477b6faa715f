#pragma once

#include <filesystem>
#include <optional>

#include "base/Log.h"
#include "mission/Settings.h"
#include "mission/Summary.h"

namespace kv::mission {

struct RunRequest {
  std::optional<std::filesystem::path> mission;  ///< folder
  Settings settings;
  std::filesystem::path output;
  bool overwrite = false;
  bool grade = true;  ///< the photos
  unsigned jobs = 0;  ///< threads for photos and samples, 0 for as many as there are processors
};

/// Turns a mission into layers and summary.json: reads, checks, places, pairs, drops, writes.
/// @throws Failure when that cannot be done; the output folder then holds what it held before
Summary RunMission(const RunRequest& request, Log& log);

}  // namespace kv::mission
