#pragma once

#include <filesystem>
#include <optional>

namespace kv::mission {

/// Turns a photo in its place and keeps its metadata, its permissions and, where the system lets us, its owner. At
/// every moment the file is the old photo or the turned one, whole.
/// @param angleDegrees  positive turns counter-clockwise
/// @param backupFolder  receives the old photo first, under its name, with its permissions and modification time; made
///                      when it is not there
/// @throws Failure when the photo is no JPEG file or a damaged one, or cannot be read, turned or replaced; when the
///         backup is the photo itself, or holds another photo of the name, which an earlier run then has turned
///         already. The photo is then as it was.
void RotatePhoto(const std::filesystem::path& photo, double angleDegrees,
                 const std::optional<std::filesystem::path>& backupFolder);

}  // namespace kv::mission
