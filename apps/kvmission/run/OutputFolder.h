#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "ScratchFolder.h"

namespace kv::mission {

inline constexpr const char* kTrajectoryLine = "trajectory_line";
inline constexpr const char* kTrajectoryPoints = "trajectory_points";
inline constexpr const char* kLogPoints = "log_points";
inline constexpr const char* kPhotos = "photos";
inline constexpr const char* kStations = "stations";
inline constexpr std::array kLayerNames{kTrajectoryLine, kTrajectoryPoints, kLogPoints, kPhotos, kStations};
inline constexpr const char* kSummaryFile = "summary.json";

/// The folder that receives layers and summary. They grow in a hidden folder inside it and get their names at the end,
/// each file in one step; what is not finished leaves nothing behind.
class OutputFolder {
 public:
  /// Makes the folder when it is not there.
  /// @throws Failure when it cannot be made, or when it holds results and `overwrite` is false
  OutputFolder(const std::filesystem::path& path, bool overwrite);
  ~OutputFolder();
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  /// Where unfinished files may stand.
  const std::filesystem::path& Staging() const { return staging_->Path(); }

  /// Gives the staged layers and the summary their names and removes what an earlier run left under the names of
  /// layers, spatial indexes of other programs included.
  /// @throws Failure when a file cannot be renamed; what was renamed until then is removed again
  void Commit();

 private:
  std::filesystem::path path_;
  bool made_ = false;
  bool committed_ = false;
  std::optional<ScratchFolder> staging_;
};

}  // namespace kv::mission
