#pragma once

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

/// Careful writing: whole files, and a folder for those that are not yet whole.
namespace kv::mission {

/// @throws Failure "PATH: cannot be written: REASON"
[[noreturn]] void FailWriting(const std::filesystem::path& path,
                              const std::error_code& reason = {errno, std::generic_category()});

/// Writes a file.
/// @param onDisk  flushes it to the disk, where it outlives a power cut
/// @param shown   its name in the failure; empty for the path itself
/// @throws Failure when it cannot be written
void WriteFile(const std::filesystem::path& path, const std::string& content, bool onDisk = false,
               const std::filesystem::path& shown = {});

/// A new hidden folder for unfinished work; the destructor removes it with its content.
class ScratchFolder {
 public:
  /// @throws Failure when it cannot be made
  explicit ScratchFolder(const std::filesystem::path& parent);
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  /// Removes the folder now. @return false when it is still there
  bool Remove();

  /// Keeps the folder on disk: after some failures it holds the only copy of a file.
  void Keep() { kept_ = true; }

  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
  bool kept_ = false;  // or removed
};

}  // namespace kv::mission
