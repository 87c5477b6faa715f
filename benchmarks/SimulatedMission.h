#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Measures.h"

/// A mission of two cameras that the command made.
class SimulatedMission {
 public:
  explicit SimulatedMission(const std::string& options, ScratchFolder::Place place = ScratchFolder::kOnDisk)
      : folder_(place) {
    Do("simulate -q --no-faults " + options + " mission");
    for (const char* camera : {"mission/cam1", "mission/cam2"}) {
      if (!std::filesystem::exists(folder_ / camera)) continue;
      for (const auto& photo : std::filesystem::directory_iterator(folder_ / camera))
        photos_.push_back(photo.path().string());
    }
  }

  /// Runs `kvmission` in the folder that holds the folder "mission".
  void Do(const std::string& arguments) const { InFolder(KVMISSION_PROGRAM " " + arguments); }
  void InFolder(const std::string& command) const { Run("cd '" + folder_.Path().string() + "' && " + command); }

  const std::vector<std::string>& Photos() const { return photos_; }
  std::filesystem::path operator/(const std::string& name) const { return folder_ / name; }

 private:
  ScratchFolder folder_;
  std::vector<std::string> photos_;
};
