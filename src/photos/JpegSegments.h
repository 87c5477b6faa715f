#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kv::mission {

struct JpegSegment {
  int marker;
  std::size_t begin, end;  ///< in the file: from the marker's FF, without fill bytes, to behind the content
  std::string_view content;
};

/// A JPEG file split at its markers, up to the first scan.
struct JpegLayout {
  std::vector<JpegSegment> segments;
  std::string_view rest;  ///< begins with the marker of the first scan
  int width = 0, height = 0, channels = 0;
};

/// @return nothing when the bytes do not form a JPEG file up to its first scan, with a frame header
std::optional<JpegLayout> LayOut(std::string_view file);

/// The picture data of a JPEG file.
struct JpegScans {
  std::size_t count = 0;
  int components = 0;    ///< those that a scan has
  bool hasData = false;  ///< in any scan
};

/// @param rest  as of a `JpegLayout`
JpegScans ScansIn(std::string_view rest);

/// Whether a segment has room for this much content.
constexpr bool FitsSegment(std::size_t contentBytes) { return contentBytes <= 0xFFFF - 2; }

/// Appends a segment. @param content  must fit
void AppendSegment(int marker, std::string_view content, std::string& file);

}  // namespace kv::mission
