#pragma once

#include <KVMission.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

/// The rows of vector layers.
namespace kv::mission {

using namespace KVMission;

/// An exposure with a place.
struct PhotoRow {
  const Exposure* exposure;
  std::size_t number;    ///< of the camera event in its file, from 1
  std::string name;      ///< of the photo; empty without one
  std::string absolute;  ///< path of the photo; empty when it is not UTF-8, and so not to be told in text
  std::string relative;  ///< the same from the folder of the results, with "/"; empty on another drive too
  std::string link;      ///< the relative path as a link; empty on another drive
};

enum class Exposures { InPhotoLayer, Dropped };
/// @param folder  of the results; it exists
std::vector<PhotoRow> PhotoRows(const Mission& mission, Exposures wanted, const std::filesystem::path& folder);

struct StationRow {
  const tagKVExposureStation* station;
  PhotoRow photos[2];  ///< of camera 1 and 2; their `exposure` is null

  bool IsPair() const { return station->Cam1Event.Type != 0 && station->Cam2Event.Type != 0; }
};
std::vector<StationRow> StationRows(const Mission& mission, const std::filesystem::path& folder);

/// Fixes, made as they are asked for.
struct FixRow {
  const tagKVTrajectoryObs* fix;
  const FixQuality* quality;  ///< null when unknown
  const Attitude* attitude;   ///< null when unknown
  std::size_t number;         ///< from 1
};
class FixRows {
 public:
  explicit FixRows(const Trajectory& trajectory) : trajectory_(trajectory) {}
  std::size_t size() const { return trajectory_.fixes.size(); }
  FixRow operator[](std::size_t i) const;

 private:
  const Trajectory& trajectory_;
};

/// Fixes in a row, without a gap between them.
struct StretchRow {
  const tagKVTrajectoryObs* fixes;
  std::size_t count;
  double length;  ///< metres, in space
};
std::vector<StretchRow> StretchRows(const Trajectory& trajectory);

/// What lies between two fixes.
struct GapRow {
  const char* kind;
  const Gap* gap;
  const tagKVTrajectoryObs* from;
  const tagKVTrajectoryObs* to;
};
std::vector<GapRow> GapRows(const Trajectory& trajectory);

}  // namespace kv::mission
