#include "base/Writing.h"

#include <KVMission.h>
#include <fmt/format.h>

#include <cstdio>

#include "platform/FileNames.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr int kMostAtOnce = 16;  ///< processes and threads with unfinished work in one folder

/// Whether it holds, or may hold, results that an exchange moved out of their folder.
bool HasResults(const fs::path& folder) {
  std::error_code unknown;
  const auto mayBeThere = [&](const char* name) {
    return fs::symlink_status(folder / name, unknown).type() != fs::file_type::not_found;
  };
  return mayBeThere(ScratchFolder::kEarlier) || mayBeThere(ScratchFolder::kReplaced);
}

/// Removes all but the lock.
void RemoveContent(const fs::path& folder, std::error_code& error) {
  std::vector<fs::path> paths;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    if (at->path().filename() != FolderLock::kName) paths.push_back(at->path());
  }
  for (const fs::path& path : paths) {
    std::error_code failure;
    fs::remove_all(path, failure);
    if (failure) error = failure;
  }
}

/// Removes a scratch folder whose process has ended, as the lock in it tells.
void RemoveOneAbandoned(const fs::path& folder) {
  std::error_code error;
  if (!fs::is_directory(fs::symlink_status(folder, error)) || HasResults(folder)) return;
  if (!FolderLock::MayBeOf(folder)) {
    fs::remove(folder, error);  // if it is empty: killed before it had its lock
    return;
  }
  {
    const FolderLock lock(folder);
    if (!lock.IsSure()) return;
    RemoveContent(folder, error);
  }
  if (!error) fs::remove(folder, error);
}

}  // namespace

void FailWriting(const std::filesystem::path& path, const std::error_code& reason) {
  throw KVMission::Failure(fmt::format("{}: cannot be written: {}", Utf8(path), reason.message()));
}

void WriteFile(const std::filesystem::path& path, const std::string& content, bool onDisk,
               const std::filesystem::path& shown) {
  FilePtr file = OpenNative(path, "wb");
  if (file) std::setvbuf(file.get(), nullptr, _IONBF, 0);  // it is written in one go
  if (!file || std::fwrite(content.data(), 1, content.size(), file.get()) != content.size() ||
      (onDisk && !FlushToDisk(file.get())) || std::fclose(file.release()) != 0)
    FailWriting(shown.empty() ? path : shown);
}

std::vector<fs::path> ScratchFolder::NamesIn(const fs::path& parent) {
  std::vector<fs::path> names;
  for (int number = 0; number < kMostAtOnce; ++number) names.push_back(parent / fmt::format(".kvmission-{}", number));
  return names;
}

void ScratchFolder::RemoveAbandoned(const fs::path& parent) {
  for (const fs::path& path : NamesIn(parent)) RemoveOneAbandoned(path);
}

ScratchFolder::ScratchFolder(const fs::path& parent) {
  std::error_code error;
  RemoveAbandoned(parent);
  std::error_code ignored;
  for (const fs::path& path : NamesIn(parent)) {
    path_ = path;
    if (!fs::create_directory(path_, error)) {
      if (error && error != std::errc::file_exists) break;
      continue;
    }
    try {
      lock_.emplace(path_);
    } catch (...) {
      fs::remove(path_, ignored);
      throw;
    }
    if (lock_->HasFile()) return;
    error = {errno, std::generic_category()};
    lock_.reset();
    fs::remove(path_, ignored);
  }
  FailWriting(parent, error ? error : std::make_error_code(std::errc::file_exists));
}

bool ScratchFolder::Remove() {
  isDone_ = true;
  try {
    if (!HasResults(path_)) return !RemoveAll();
    lock_->Leave();
    return false;
  } catch (const std::exception&) {
    return false;
  }
}

ScratchFolder::~ScratchFolder() {
  if (isDone_) return;
  try {
    if (HasResults(path_)) {
      lock_->Leave();
      std::fprintf(stderr, "kvmission: warning: %s: kept, it has earlier results; the next run puts them in order\n",
                   Utf8(path_).c_str());
    } else if (const std::error_code error = RemoveAll()) {
      std::fprintf(stderr, "kvmission: warning: %s: cannot be removed: %s; the next run removes it\n",
                   Utf8(path_).c_str(), error.message().c_str());
    }
  } catch (const std::exception&) {
    std::fputs("kvmission: warning: not enough memory to remove a folder .kvmission-...; the next run removes it\n",
               stderr);
  }
}

std::error_code ScratchFolder::RemoveAll() {
  std::error_code error;
  RemoveContent(path_, error);
  lock_.reset();
  if (!error) fs::remove(path_, error);
  return error;
}

}  // namespace kv::mission
