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

  /// Leaves it there with all it holds, after a failure that nothing else can mend.
  void Keep() { kept_ = true; }

  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
  bool kept_ = false;
};

/// Where the system has temporary files. @throws Failure when there is no such folder
std::filesystem::path TemporaryFolder();

}  // namespace kv::mission
