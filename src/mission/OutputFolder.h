#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "base/Job.h"
#include "base/Writing.h"
#include "platform/FolderLock.h"

namespace kv::mission {

inline constexpr const char* kTrajectoryLine = "trajectory_line";
inline constexpr const char* kTrajectoryPoints = "trajectory_points";
inline constexpr const char* kHousekeepingPoints = "log_points";
inline constexpr const char* kPhotos = "photos";
inline constexpr const char* kStations = "stations";
inline constexpr const char* kPosPoints = "pos_points";
inline constexpr std::array kLayerNames{kTrajectoryLine, kTrajectoryPoints, kHousekeepingPoints,
                                        kPhotos,         kStations,         kPosPoints};

/// Names of a command's results in a folder.
struct Results {
  std::vector<std::string> layers = {};  ///< Shapefile sets, without extension
  std::vector<std::string> files = {};   ///< may be in a folder: "cam1/geo.txt"
  std::vector<std::string> companions =
      {};  ///< files that other programs put beside these, and that are wrong for new ones
};
/// The results of a run, of all kinds.
Results RunResults();
/// Those that a run replaces: all, or only files for photogrammetry when it writes nothing else.
Results ResultsOf(const Settings& settings);

/// @throws Failure (WrongUsage) when a file that is to be read stands in the folder under a name of a result
void RefuseResultAsInput(const std::filesystem::path& folder, const Results& results,
                         const std::filesystem::path& input);
/// Refuses any input of a run that stands in its output folder under a name of a result.
void RefuseResultsAsInputs(const std::filesystem::path& folder, const Settings& settings);

/// Makes the missing folders of a path. Unless they are kept, the empty ones are removed again.
class NewFolders {
 public:
  /// @throws Failure when one cannot be made
  explicit NewFolders(const std::filesystem::path& path);
  ~NewFolders();
  NewFolders(const NewFolders&) = delete;
  NewFolders& operator=(const NewFolders&) = delete;

  void Keep() { made_.clear(); }

 private:
  void Remove();

  std::vector<std::filesystem::path> made_;  ///< outermost first
};

/// The folder that receives layers and summary. They are written in a hidden folder inside it and get
/// their names at the end, each file in one step. An unfinished run leaves nothing behind.
class OutputFolder {
 public:
  /// Makes the folder when it is not there. Completes or undoes an exchange of results in it that a kill interrupted.
  /// @throws Failure when it cannot be made; when another run writes into it; when it holds results, or files that other
  ///         programs put beside them, and `overwrite` is false
  OutputFolder(const std::filesystem::path& path, bool overwrite, Results results, Job& job);

  const std::filesystem::path& Path() const { return path_; }
  /// Folder for unfinished files.
  const std::filesystem::path& Staging() const { return staging_.Path(); }

  /// Gives the staged layers and files their names and removes what an earlier run left under the names of
  /// layers, spatial indexes of other programs included. All is on the disk before anything is removed.
  /// @throws Failure when a file cannot be renamed, or when another run has put results there that must not be
  ///         overwritten; the folder then holds what it held before
  void Commit(Job& job);

 private:
  std::filesystem::path path_;
  Results results_;
  bool overwrite_;
  NewFolders folders_;
  FolderLock lock_;
  ScratchFolder staging_;  // after the folders: it goes before them
};

}  // namespace kv::mission
