#include <KVMission.h>
#include <KVUtilities.h>

#include <string>

#include "photos/JpegMetadata.h"
#include "photos/JpegRows.h"
#include "photos/PhotoReplacement.h"
#include "photos/PictureClaims.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;
using KVMission::Failure;

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

void Rotate(const fs::path& photo, double angleDegrees, const fs::path& backupFolder, double maxMegapixels) {
  const fs::path target = fs::canonical(photo);  // replaces the file that a link leads to, not the link
  ScratchFolder::RemoveAbandoned(target.parent_path());
  if (!backupFolder.empty()) ScratchFolder::RemoveAbandoned(backupFolder);
  CheckPicture(target, maxMegapixels, 2 * kDecodedBytesPerPixel);  // as it is and turned
  if (!OpenNative(target, "rb+")) FailWriting(target);
  const std::string content = ReadPhoto(target);
  if (const std::string damage = JpegDamage(content); !damage.empty())
    throw Failure("the picture is damaged, and turned it would look whole: " + damage);
  const fs::path backup = backupFolder / photo.filename();
  ScratchFolders scratch;
  if (!backupFolder.empty() && !BackUp(content, target, backup, scratch))
    throw Failure(Utf8(backup) + " is another picture: an earlier run has rotated the photo");
  const std::string turned = Turned(content, angleDegrees, scratch.In(target.parent_path()));
  PutPhoto(WithMetadataOf(content, turned), target, target, scratch);
}

}  // namespace
}  // namespace kv::mission

void KVMission::RotatePhoto(const std::filesystem::path& photo, double angleDegrees,
                            const std::filesystem::path& backupFolder, double maxMegapixels) try {
  kv::mission::Rotate(photo, angleDegrees, backupFolder, maxMegapixels);
} catch (const std::filesystem::filesystem_error& error) {
  throw Failure(error.code().message());
}
