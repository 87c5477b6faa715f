#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "base/Writing.h"

/// Photos that are replaced or copied in one step: at every moment a name leads to the old file or to the new one.
namespace kv::mission {

/// A file as a whole. @throws Failure when it cannot be read
std::string ReadWhole(const std::filesystem::path& path);

/// @throws Failure when it is not a JPEG file, or larger than 1 GiB
std::string ReadPhoto(const std::filesystem::path& path);

/// Hidden folders for unfinished photos: one in each folder into which photos are put, made for the first of them.
/// Several threads may use them at once.
class ScratchFolders {
 public:
  /// @throws Failure when it cannot be made
  std::filesystem::path In(const std::filesystem::path& folder);

 private:
  std::mutex mutex_;
  std::map<std::filesystem::path, std::unique_ptr<ScratchFolder>> folders_;
};

/// Writes a photo, with the permissions and, where the system allows it, the owner of another file, and then gives it
/// its name.
/// @param to    its folder exists; a file of the name is replaced
/// @param time  modification time; now if there is none
/// @param onDisk  flushes it to the disk before, as what takes the place of a photo must be: it outlives a power cut
/// @throws Failure when that cannot be done; `to` is then as it was
void PutPhoto(const std::string& content, const std::filesystem::path& to, const std::filesystem::path& accessOf,
              ScratchFolders& scratch, std::optional<std::filesystem::file_time_type> time = {}, bool onDisk = true);

/// Copies a photo to its backup, with permissions and modification time; makes the folder if it is missing. A backup
/// that is equal to the photo stays: an earlier run ended before it changed the photo.
/// @param content  of the photo
/// @return  false when the backup holds another picture, which stays
/// @throws Failure when that cannot be done, or the backup is the photo itself
bool BackUp(const std::string& content, const std::filesystem::path& photo, const std::filesystem::path& backup,
            ScratchFolders& scratch);

}  // namespace kv::mission
