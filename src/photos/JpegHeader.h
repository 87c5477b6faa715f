#pragma once

#include <filesystem>
#include <optional>
#include <vector>

namespace kv::mission {

/// What stands in a JPEG file before its picture.
struct JpegHeader {
  int width = 0;  ///< pixels; 0 when the file ends before it says so
  int height = 0;
  std::vector<unsigned char> exif;  ///< the EXIF segment's content, empty when there is none
};

/// Reads no more of the file than its header.
/// @return nothing for a file that is no JPEG, or that cannot be read
std::optional<JpegHeader> ReadJpegHeader(const std::filesystem::path& path);

}  // namespace kv::mission
