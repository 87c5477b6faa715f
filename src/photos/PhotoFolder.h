#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Log.h"
#include "time/Instants.h"

namespace kv::mission {

struct Photo {
  std::wstring name;
  std::optional<Instant> time;
};

/// The photos of one camera.
struct PhotoFolder {
  std::filesystem::path path;  ///< absolute
  std::vector<Photo> photos;   ///< ordered by name
  std::size_t listed = 0;      ///< those that pairing by order sees: the extension is exactly ".jpg"
  std::size_t strays = 0;      ///< hidden files that pairing by order would take for photos
  std::size_t timed = 0;
  std::size_t unreadable = 0;  ///< and so without a time

  /// Those that were looked at and have no time.
  std::size_t Untimed() const { return photos.size() - timed - unreadable; }
};

/// Lists the JPEG photos of a folder, by extension in any letter case, and finds out when they were taken.
/// @param camera  for messages
/// @throws Failure when the folder cannot be listed, or the user interrupts
PhotoFolder ReadPhotoFolder(const std::filesystem::path& path, int camera, Log& log);

/// The names of a folder's JPEG photos in order, but for hidden files, which begin with a point.
/// @throws Failure when it cannot be listed
std::vector<std::filesystem::path> PhotosIn(const std::filesystem::path& folder);

/// Where the name begins in the path of a photo that the library finds in a folder.
std::size_t PhotoNameAt(const std::filesystem::path& folder);

/// Whether a name ends as JPEG files do: .jpg or .jpeg in any letter case.
bool HasPhotoExtension(const std::filesystem::path& path);

}  // namespace kv::mission
