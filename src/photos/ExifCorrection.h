#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// EXIF data for a picture of another size that is shown as it is stored, without a thumbnail. Only what they say of
/// size and orientation changes; where they say it in a form of their own, that entry is left out.
/// @param exif  content of a JPEG file's EXIF segment
/// @throws Failure when they cannot be understood: they might tell other programs to turn the picture once more
std::string CorrectedExif(std::string_view exif, int width, int height);

}  // namespace kv::mission
