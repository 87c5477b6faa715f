#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// Puts the EXIF, XMP, ICC and IPTC segments of a photo into its turned copy. The EXIF data get the copy's size and
/// orientation and lose their thumbnail. A colour profile is left out when it does not fit the copy's channels.
/// @return the copy's picture with the photo's metadata
/// @throws Failure when either is not a JPEG file; when the EXIF data cannot be read or do not fit a segment
std::string WithMetadataOf(std::string_view photo, std::string_view copy);

}  // namespace kv::mission
