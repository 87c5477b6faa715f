#pragma once

#include <filesystem>

namespace kv::mission {

/// A new hidden folder for unfinished work, removed with all it holds at the end.
class ScratchFolder {
 public:
  /// @throws Failure when it cannot be made
  explicit ScratchFolder(const std::filesystem::path& parent);
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace kv::mission
