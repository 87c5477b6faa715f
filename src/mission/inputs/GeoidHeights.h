#pragma once

#include <KVRecords.h>

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/Job.h"
#include "mission/inputs/PostProcessed.h"

namespace kv::mission {

/// The geoid EGM96.
class Egm96 {
 public:
  /// @return nothing when its grid is not installed
  static std::optional<Egm96> Find();

  const std::string& Grid() const { return grid_; }  ///< its file

  /// Heights of the geoid above the ellipsoid, metres.
  /// @param places       latitudes and longitudes
  /// @param separations  receives one for each place
  /// @return             the class's sentence when the geoid has no height at a place; empty when all was done
  std::wstring Separations(std::vector<tagKVPosEvent> places, std::vector<double>& separations) const;

 private:
  Egm96(std::wstring wkt, std::string grid) : wkt_(std::move(wkt)), grid_(std::move(grid)) {}

  std::wstring wkt_;
  std::string grid_;
};

/// Takes heights from the ellipsoid to the geoid. @throws Failure when its grid is not installed or does not reach
void LeaveEllipsoid(std::vector<tagKVPosEvent>& places);

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
  std::optional<Egm96> geoid_;
};

}  // namespace kv::mission
