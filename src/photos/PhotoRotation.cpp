#include "photos/PhotoRotation.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "base/ScratchFolder.h"
#include "photos/JpegDamage.h"
#include "photos/JpegMetadata.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kStartOfJpeg = "\xFF\xD8\xFF";
/// Bytes. The library turns pictures of fewer than 2^15 pixels a side; with a byte to the pixel they are smaller.
constexpr std::uintmax_t kLargestPhoto = std::uintmax_t{1} << 30;

[[noreturn]] void FailWriting(const fs::path& path, const std::error_code& error) {
  ThrowIfInterrupted();
  throw Failure(fmt::format("{}: cannot be written: {}", Utf8(path), error.message()));
}

std::string ReadWhole(const fs::path& path) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  return ReadBeginning(path, error ? 0 : static_cast<std::size_t>(size));
}

std::string ReadPhoto(const fs::path& path) {
  if (ReadBeginning(path, kStartOfJpeg.size()) != kStartOfJpeg) throw Failure("no JPEG file");
  if (fs::file_size(path) > kLargestPhoto) throw Failure("larger than 1 GiB, which no photo is");
  std::string photo = ReadWhole(path);
  if (!IsJpeg(photo)) throw Failure("no JPEG file");
  if (const std::string damage = JpegDamage(photo); !damage.empty())
    throw Failure("the picture is damaged, and turned it would look whole: " + damage);
  return photo;
}

/// The file is on the disk at the end.
void WriteWhole(const fs::path& path, const std::string& content) {
  FilePtr file = OpenNative(path, "wb");
  const bool written =
      file && std::fwrite(content.data(), 1, content.size(), file.get()) == content.size() && FlushToDisk(file.get());
  if (!written) FailWriting(path, {errno, std::generic_category()});
}

void Rename(const fs::path& from, const fs::path& to) {
  std::error_code error;
  fs::rename(from, to, error);
  if (error) FailWriting(to, error);
}

/// Gives a file the permissions of another one and, where the system lets us, its owner.
void TakeAccess(const fs::path& file, const fs::path& from) {
  TakeOwner(file, from);
  std::error_code error;
  const fs::perms wanted = fs::status(from, error).permissions();
  if (!error && fs::status(file, error).permissions() != wanted) fs::permissions(file, wanted, error);
  if (error) throw Failure("its permissions cannot be kept: " + error.message());
}

/// A backup that is the photo as it is now is of a run that ended before it turned the photo.
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
  WriteWhole(copy, content);
  fs::last_write_time(copy, fs::last_write_time(photo), error);
  if (error) FailWriting(copy, error);
  TakeAccess(copy, photo);
  Rename(copy, backup);
}

std::string Turned(const std::string& photo, double angleDegrees, const fs::path& scratch) {
  const fs::path copy = scratch / "photo.jpg";
  WriteWhole(copy, photo);
  std::wstring error;
  if (!KVUtilities::RotateImage(WidePath(copy), angleDegrees, error)) {
    const std::string sentence = Utf8(error);
    throw Failure(sentence.substr(0, sentence.find_last_not_of(": \n", sentence.find('\n')) + 1));
  }
  return ReadWhole(copy);
}

}  // namespace

void RotatePhoto(const fs::path& photo, double angleDegrees, const std::optional<fs::path>& backupFolder) {
  const fs::path target = fs::canonical(photo);  // what a link leads to is replaced, not the link
  if (!OpenNative(target, "rb+")) FailWriting(target, {errno, std::generic_category()});
  const std::string content = ReadPhoto(target);
  if (backupFolder) BackUp(content, target, photo.filename(), *backupFolder);
  const ScratchFolder scratch(target.parent_path());  // on the same file system, so that the last step is one step
  const fs::path turned = scratch.Path() / "turned.jpg";
  WriteWhole(turned, WithMetadataOf(content, Turned(content, angleDegrees, scratch.Path())));
  TakeAccess(turned, target);
  Rename(turned, target);
}

}  // namespace kv::mission
