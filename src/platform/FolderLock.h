#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace kv {

/// An exclusive lock on a folder, among processes and threads. It is held until the destructor, or the end of the process.
/// Where the file system knows no locks, everybody gets one.
class FolderLock {
 public:
  static constexpr const char* kName = ".kvmission-lock";

  explicit FolderLock(const std::filesystem::path& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  /// Whether a folder may be locked or have been locked by a process that was killed: no other has the file.
  static bool MayBeOf(const std::filesystem::path& folder);

  /// Leaves its file behind, by which the next run knows the folder.
  void Leave() { isLeft_ = true; }

  bool IsHeld() const { return isHeld_; }
  /// Whether its file could be opened.
  bool HasFile() const { return isHeld_ && handle_ != -1; }
  /// Whether the system keeps it from everybody else.
  bool IsSure() const { return HasFile() && isSure_; }
  /// The number of the process that has the lock instead; empty when that is not known.
  const std::string& Holder() const { return holder_; }

 private:
  std::filesystem::path file_;
  std::intptr_t handle_ = -1;  // of the system
  bool isHeld_ = true, isSure_ = true, isLeft_ = false;
  std::string holder_;
};

}  // namespace kv
