#pragma once

#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

namespace kv::mission {

/// What a JPEG file says before its picture data.
struct JpegHeader {
  int width = 0, height = 0;        ///< pixels; 0 when the file ends before its frame header
  std::vector<unsigned char> exif;  ///< content of the EXIF segment; empty without one
};

/// Reads a JPEG file up to its frame header.
/// @param unreadable  receives why the file cannot be read
/// @return nothing for a file that is not a JPEG file or cannot be read
std::optional<JpegHeader> ReadJpegHeader(const std::filesystem::path& path, std::error_code* unreadable = nullptr);

}  // namespace kv::mission
