#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// Whether the bytes begin as a JPEG file and have a frame header.
bool IsJpeg(std::string_view file);

/// Puts the metadata of a photo into its turned copy: the EXIF, XMP, ICC and IPTC segments. In the EXIF data sizes
/// become the copy's, the orientation that of a picture that is shown as it is stored, and a thumbnail is left out. A
/// colour profile that does not fit the copy's channels is left out too.
/// @return the copy's picture with the photo's metadata
/// @throws Failure when one of them is no JPEG file, or the EXIF data cannot be read or have no room
std::string WithMetadataOf(std::string_view photo, std::string_view copy);

}  // namespace kv::mission
