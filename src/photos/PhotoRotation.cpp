#include <KVMission.h>
#include <KVUtilities.h>

#include <string>
#include <system_error>

#include "base/Writing.h"
#include "photos/JpegDamage.h"
#include "photos/JpegMarkers.h"
#include "photos/JpegMetadata.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;
using KVMission::Failure;

/// Bytes. The strict class turns pictures of fewer than 2^15 pixels a side: less than this at a byte per pixel.
constexpr std::uintmax_t kLargestPhoto = std::uintmax_t{1} << 30;

std::string ReadWhole(const fs::path& path) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  return ReadBeginning(path, error ? 0 : static_cast<std::size_t>(size));
}

std::string ReadPhoto(const fs::path& path) {
  if (ReadBeginning(path, kStartOfJpeg.size()) != kStartOfJpeg) throw Failure("not a JPEG file");
  if (fs::file_size(path) > kLargestPhoto) throw Failure("larger than 1 GiB, the most that is rotated");
  std::string photo = ReadWhole(path);
  if (!IsJpeg(photo)) throw Failure("not a JPEG file");
  if (const std::string damage = JpegDamage(photo); !damage.empty())
    throw Failure("the picture is damaged, and turned it would look whole: " + damage);
  return photo;
}

void Rename(const fs::path& from, const fs::path& to) {
  std::error_code error;
  fs::rename(from, to, error);
  if (error) FailWriting(to, error);
}

/// Gives a file the permissions of another one and, where the system allows it, its owner.
void TakeAccess(const fs::path& file, const fs::path& from) {
  TakeOwner(file, from);
  std::error_code error;
  const fs::perms wanted = fs::status(from, error).permissions();
  if (!error && fs::status(file, error).permissions() != wanted) fs::permissions(file, wanted, error);
  if (error) throw Failure("its permissions cannot be kept: " + error.message());
}

/// Copies the photo into the folder, which is made if missing, with its permissions and modification time. A backup
/// equal to the photo is accepted: an earlier run ended before it turned the photo.
void BackUp(const std::string& content, const fs::path& photo, const fs::path& name, const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) FailWriting(folder, error);
  const fs::path backup = folder / name;
  if (fs::equivalent(backup, photo, error)) throw Failure(Utf8(backup) + " is the photo itself, not a backup");
  if (fs::exists(backup, error)) {
    if (ReadBeginning(backup, content.size() + 1) == content) return;
    throw Failure(Utf8(backup) + " is another picture: an earlier run has rotated the photo");
  }
  const ScratchFolder scratch(folder);
  const fs::path copy = scratch.Path() / name;
  WriteFile(copy, content, true);
  fs::last_write_time(copy, fs::last_write_time(photo), error);
  if (error) FailWriting(copy, error);
  TakeAccess(copy, photo);
  Rename(copy, backup);
}

std::string Turned(const std::string& photo, double angleDegrees, const fs::path& scratch) {
  const fs::path copy = scratch / "photo.jpg";
  WriteFile(copy, photo, true);
  std::wstring error;
  if (!KVUtilities::RotateImage(WidePath(copy), angleDegrees, error)) {
    const std::string sentence = Utf8(error);
    throw Failure(sentence.substr(0, sentence.find_last_not_of(": \n", sentence.find('\n')) + 1));
  }
  return ReadWhole(copy);
}

void Rotate(const fs::path& photo, double angleDegrees, const fs::path& backupFolder) {
  const fs::path target = fs::canonical(photo);  // replaces the file that a link leads to, not the link
  if (!OpenNative(target, "rb+")) FailWriting(target);
  const std::string content = ReadPhoto(target);
  if (!backupFolder.empty()) BackUp(content, target, photo.filename(), backupFolder);
  const ScratchFolder scratch(target.parent_path());  // on the photo's file system, so that the rename is atomic
  const fs::path turned = scratch.Path() / "turned.jpg";
  WriteFile(turned, WithMetadataOf(content, Turned(content, angleDegrees, scratch.Path())), true);
  TakeAccess(turned, target);
  Rename(turned, target);
}

}  // namespace
}  // namespace kv::mission

void KVMission::RotatePhoto(const std::filesystem::path& photo, double angleDegrees,
                            const std::filesystem::path& backupFolder) try {
  kv::mission::Rotate(photo, angleDegrees, backupFolder);
} catch (const std::filesystem::filesystem_error& error) {
  throw Failure(error.code().message());
}
