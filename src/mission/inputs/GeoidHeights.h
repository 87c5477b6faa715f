#pragma once

#include <KVRecords.h>

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "base/Job.h"
#include "mission/inputs/PostProcessed.h"

namespace kv::mission {

/// Makes heights above a geoid that a file does not name ellipsoidal, by the grid of EGM96.
class GeoidHeights {
 public:
  /// Reports which grid is used. @throws Failure when it is not installed
  GeoidHeights(const std::filesystem::path& file, Job& job);

  /// @return the class's sentence when the geoid has no height at a place; empty when all was done
  std::wstring Apply(std::vector<tagKVPosEvent>& samples) const;
  /// @throws Failure when the geoid has no height at a place
  void Apply(std::span<RawFix> fixes) const;

 private:
  std::filesystem::path file_;
  std::wstring wkt_;
};

}  // namespace kv::mission
