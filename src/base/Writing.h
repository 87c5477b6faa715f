#pragma once

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "platform/FolderLock.h"

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

/// A new hidden folder for unfinished work; the destructor removes it with its content. It is locked as long as its
/// process lives, so that the next run can remove those of processes that were killed.
class ScratchFolder {
 public:
  /// Folders in it that hold results: only `RecoverResults` removes a scratch folder that has one.
  static constexpr const char *kEarlier = "earlier", *kReplaced = "replaced";

  /// @throws Failure when it cannot be made
  explicit ScratchFolder(const std::filesystem::path& parent);
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  /// Removes the folder now. @return false when it is still there
  bool Remove();

  const std::filesystem::path& Path() const { return path_; }

  /// Removes those in a folder whose processes have ended.
  static void RemoveAbandoned(const std::filesystem::path& parent);
  /// All that can be in a folder.
  static std::vector<std::filesystem::path> NamesIn(const std::filesystem::path& parent);

 private:
  std::error_code RemoveAll();

  std::filesystem::path path_;
  std::optional<FolderLock> lock_;
  bool isDone_ = false;  // its removal was tried
};

}  // namespace kv::mission
