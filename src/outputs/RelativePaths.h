#pragma once

#include <filesystem>
#include <map>

namespace kv::mission {

/// Paths of photos as seen from a folder. Links in either path are followed, since ".." would lead elsewhere otherwise.
class RelativePaths {
 public:
  explicit RelativePaths(const std::filesystem::path& folder);

  /// @return an empty path when none leads there
  std::filesystem::path To(const std::filesystem::path& photo);

 private:
  std::filesystem::path folder_;
  std::map<std::filesystem::path, std::filesystem::path> known_;  // folders of photos
};

}  // namespace kv::mission
