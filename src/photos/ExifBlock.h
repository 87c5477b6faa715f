#pragma once

#include <libexif/exif-data.h>

#include <memory>
#include <vector>

/// The EXIF data of a photo, by libexif.
namespace kv::mission {

struct ReleaseExif {
  void operator()(ExifData* data) const noexcept { exif_data_unref(data); }
};
using ExifPtr = std::unique_ptr<ExifData, ReleaseExif>;

/// @param exif  as `JpegHeader` has it
/// @return      null without data
/// @throws std::bad_alloc  libexif itself leaves out entries for which it has no memory
ExifPtr ReadExif(const std::vector<unsigned char>& exif);

}  // namespace kv::mission
