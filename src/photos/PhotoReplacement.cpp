#include "photos/PhotoReplacement.h"

#include <KVMission.h>

#include <system_error>

#include "base/Writing.h"
#include "photos/JpegMarkers.h"
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
  if (ReadBeginning(path, kStartOfJpeg.size()) != kStartOfJpeg) throw Failure("not a JPEG file");
  if (fs::file_size(path) > kLargestPhoto) throw Failure("larger than 1 GiB, the most that is changed");
  std::string photo = ReadWhole(path);
  if (!LayOut(photo)) throw Failure("not a JPEG file");
  return photo;
}

void PutPhoto(const std::string& content, const fs::path& to, const fs::path& accessOf,
              std::optional<fs::file_time_type> time) {
  const ScratchFolder scratch(to.parent_path());  // on the same file system, so that the rename is atomic
  const fs::path copy = scratch.Path() / "photo.jpg";
  WriteFile(copy, content, true);
  std::error_code error;
  if (time) fs::last_write_time(copy, *time, error);
  if (error) FailWriting(copy, error);
  TakeAccess(copy, accessOf);
  fs::rename(copy, to, error);
  if (error) FailWriting(to, error);
}

bool BackUp(const std::string& content, const fs::path& photo, const fs::path& backup) {
  std::error_code error;
  fs::create_directories(backup.parent_path(), error);
  if (error) FailWriting(backup.parent_path(), error);
  if (fs::equivalent(backup, photo, error)) throw Failure(Utf8(backup) + " is the photo itself, not a backup");
  if (fs::exists(backup, error)) return ReadBeginning(backup, content.size() + 1) == content;
  PutPhoto(content, backup, photo, fs::last_write_time(photo));
  return true;
}

}  // namespace kv::mission
