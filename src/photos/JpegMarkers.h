#pragma once

#include <string_view>

/// The structure of a JPEG file: segments of FF, a marker's number and, with few exceptions, a big-endian length of two
/// bytes, which counts itself.
namespace kv {

inline constexpr std::string_view kStartOfJpeg = "\xFF\xD8\xFF";  // start of image, then the next marker
inline constexpr int kStartOfImage = 0xD8, kEndOfImage = 0xD9, kStartOfScan = 0xDA;
inline constexpr int kApp0 = 0xE0, kApp1 = 0xE1, kApp2 = 0xE2, kApp13 = 0xED;
inline constexpr std::string_view kExifSignature("Exif\0\0", 6);  // begins the APP1 segment that holds EXIF data
inline constexpr std::string_view kXmpSignature("http://ns.adobe.com/xap/1.0/\0", 29);  // the same of XMP
inline constexpr std::string_view kMoreXmpSignature("http://ns.adobe.com/xmp/extension/\0",
                                                    35);         // what has no room there
inline constexpr std::string_view kFurtherPictures("MPF\0", 4);  // begins the APP2 segment that indexes them
inline constexpr std::string_view kEndOfJpeg = "\xFF\xD9";

/// The frame headers SOF0 to SOF15. Three numbers in that range mark other segments: DHT, JPG and DAC.
constexpr bool IsFrame(int marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

}  // namespace kv
