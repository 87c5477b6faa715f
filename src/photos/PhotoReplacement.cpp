#include "photos/PhotoReplacement.h"

#include <KVMission.h>

#include <system_error>

#include "photos/JpegSegments.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;
using KVMission::Failure;

/// Bytes. The strict class turns pictures of fewer than 2^15 pixels a side: less than this at a byte per pixel.
constexpr std::uintmax_t kLargestPhoto = std::uintmax_t{1} << 30;

/// Gives a file the permissions of another one and, where the system allows it, its owner.
void TakeAccess(const fs::path& file, const fs::path& from) {
  TakeOwner(file, from);
  std::error_code error;
  const fs::perms wanted = fs::status(from, error).permissions();
  if (!error && fs::status(file, error).permissions() != wanted) fs::permissions(file, wanted, error);
  if (error) throw Failure("its permissions cannot be kept: " + error.message());
}

}  // namespace

std::string ReadWhole(const fs::path& path) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  return ReadBeginning(path, error ? 0 : static_cast<std::size_t>(size));
}

std::string ReadPhoto(const fs::path& path) {
  const std::uintmax_t size = fs::file_size(path);
  if (size > kLargestPhoto) throw Failure("larger than 1 GiB, the most that is changed");
  std::string photo = ReadBeginning(path, static_cast<std::size_t>(size));
  if (!LayOut(photo)) throw Failure("not a JPEG file");
  return photo;
}

fs::path ScratchFolders::In(const fs::path& folder) {
  const std::lock_guard lock(mutex_);
  auto& scratch = folders_[folder];
  if (!scratch) scratch = std::make_unique<ScratchFolder>(folder);  // on the same file system: renames are atomic
  return scratch->Path();
}

void PutPhoto(const std::string& content, const fs::path& to, const fs::path& accessOf, ScratchFolders& scratch,
              std::optional<fs::file_time_type> time, bool onDisk) {
  const fs::path copy = scratch.In(to.parent_path()) / to.filename();
  WriteFile(copy, content, onDisk, to);
  std::error_code error;
  if (time) fs::last_write_time(copy, *time, error);
  if (error) FailWriting(to, error);
  TakeAccess(copy, accessOf);
  fs::rename(copy, to, error);
  if (error) FailWriting(to, error);
  if (onDisk && !FlushToDisk(to.parent_path())) FailWriting(to);
}

bool BackUp(const std::string& content, const fs::path& photo, const fs::path& backup, ScratchFolders& scratch) {
  std::error_code error;
  fs::create_directories(backup.parent_path(), error);
  if (error) FailWriting(backup.parent_path(), error);
  if (fs::equivalent(backup, photo, error)) throw Failure(Utf8(backup) + " is the photo itself, not a backup");
  if (fs::exists(backup, error)) return ReadBeginning(backup, content.size() + 1) == content;
  PutPhoto(content, backup, photo, scratch, fs::last_write_time(photo));
  return true;
}

}  // namespace kv::mission
