#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// Adapts EXIF data to a turned copy: sets its size and an orientation of "shown as stored", and removes the thumbnail.
/// Nothing else changes. A size or orientation entry of an unusual format is removed.
/// @param exif  content of a JPEG file's EXIF segment
/// @throws Failure when the data cannot be read: they might tell other programs to turn the picture again
std::string CorrectedExif(std::string_view exif, int width, int height);

}  // namespace kv::mission
