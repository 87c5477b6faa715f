#include "pictures/PhotoRotation.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "Failure.h"
#include "Interrupt.h"
#include "ScratchFolder.h"
#include "System.h"
#include "field/LineReader.h"
#include "pictures/JpegMetadata.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void FailWriting(const fs::path& path, const std::error_code& error) {
  ThrowIfInterrupted();
  throw Failure(fmt::format("{}: cannot be written: {}", Utf8(path), error.message()));
}

std::string ReadWhole(const fs::path& path) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  return ReadBeginning(path, error ? 0 : static_cast<std::size_t>(size));
}

/// The file is on the disk at the end.
void WriteWhole(const fs::path& path, const std::string& content) {
  FilePtr file(OpenBinary(path, "wb"));
  const bool written =
      file && std::fwrite(content.data(), 1, content.size(), file.get()) == content.size() && FlushToDisk(file.get());
  if (!written) FailWriting(path, {errno, std::generic_category()});
}

void Rename(const fs::path& from, const fs::path& to) {
  std::error_code error;
  fs::rename(from, to, error);
  if (error) FailWriting(to, error);
}

/// A backup that is the photo as it is now is of a run that ended before it turned the photo.
void BackUp(const std::string& content, const fs::path& name, const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) FailWriting(folder, error);
  const fs::path backup = folder / name;
  if (fs::exists(backup, error)) {
    if (ReadWhole(backup) == content) return;
    throw Failure(Utf8(backup) + " is another picture: an earlier run has rotated the photo");
  }
  const ScratchFolder scratch(folder);
  WriteWhole(scratch.Path() / name, content);
  Rename(scratch.Path() / name, backup);
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
  const std::string content = ReadWhole(target);
  if (!IsJpeg(content)) throw Failure("no JPEG file");
  if (backupFolder) BackUp(content, photo.filename(), *backupFolder);
  const ScratchFolder scratch(target.parent_path());  // on the same file system, so that the last step is one step
  const fs::path turned = scratch.Path() / "turned.jpg";
  WriteWhole(turned, WithMetadataOf(content, Turned(content, angleDegrees, scratch.Path())));
  std::error_code ignored;
  fs::permissions(turned, fs::status(target).permissions(), ignored);
  Rename(turned, target);
}

}  // namespace kv::mission
