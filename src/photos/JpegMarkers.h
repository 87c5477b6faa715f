#pragma once

#include <string_view>

/// The structure of a JPEG file: segments of FF, a marker's number and, with few exceptions, a big-endian length of two
/// bytes, which counts itself.
namespace kv {

inline constexpr std::string_view kStartOfJpeg = "\xFF\xD8\xFF";  // start of image, then the next marker
inline constexpr int kStartOfImage = 0xD8, kEndOfImage = 0xD9, kStartOfScan = 0xDA;
inline constexpr int kApp0 = 0xE0, kApp1 = 0xE1, kApp2 = 0xE2, kApp13 = 0xED;
inline constexpr std::string_view kExifSignature("Exif\0\0", 6);  // begins the APP1 segment that holds EXIF data

/// The frame headers SOF0 to SOF15. Three numbers in that range mark other segments: DHT, JPG and DAC.
constexpr bool IsFrame(int marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

}  // namespace kv
