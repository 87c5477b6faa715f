#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// EXIF data for a picture of another size that is shown as it is stored, without a thumbnail. Only what they say of size
/// and orientation changes.
/// @param exif  content of a JPEG file's EXIF segment
/// @return      the same bytes when they cannot be understood
std::string CorrectedExif(std::string_view exif, int width, int height);

}  // namespace kv::mission
