#include "photos/JpegHeader.h"

#include <cerrno>
#include <string_view>

#include "photos/JpegMarkers.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

int ReadBigEndian16(std::FILE* file) {
  const int high = std::fgetc(file), low = std::fgetc(file);
  return high < 0 || low < 0 ? -1 : high * 256 + low;
}

/// A marker may have fill bytes FF in front. @return -1 when the next byte is not FF
int ReadMarker(std::FILE* file) {
  if (std::fgetc(file) != 0xFF) return -1;
  int marker = 0xFF;
  while (marker == 0xFF) marker = std::fgetc(file);
  return marker;
}

void ReadFrame(std::FILE* file, JpegHeader& header) {
  std::fgetc(file);  // bits per sample
  const int height = ReadBigEndian16(file), width = ReadBigEndian16(file);
  if (width > 0 && height > 0) header.height = height, header.width = width;
}

void ReadExif(std::FILE* file, std::size_t length, JpegHeader& header) {
  std::vector<unsigned char> content(length);
  content.resize(std::fread(content.data(), 1, length, file));
  const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
  if (text.starts_with(kExifSignature) && header.exif.empty()) header.exif = std::move(content);
}

/// What follows the start mark, up to the frame header. @return whether the file let itself be read
bool ReadSegments(std::FILE* file, JpegHeader& header) {
  while (header.width == 0) {
    const int marker = ReadMarker(file);
    if (marker < 0 || marker == kEndOfImage || marker == kStartOfScan) break;
    const int length = ReadBigEndian16(file) - 2;  // counts itself
    if (length < 0) break;
    if (IsFrame(marker)) {
      ReadFrame(file, header);
    } else if (marker == kApp1) {
      ReadExif(file, static_cast<std::size_t>(length), header);
    } else if (std::fseek(file, length, SEEK_CUR) != 0) {
      return false;
    }
  }
  return !std::ferror(file);
}

}  // namespace

std::optional<JpegHeader> ReadJpegHeader(const std::filesystem::path& path, std::error_code* unreadable) {
  const auto fail = [unreadable] {
    if (unreadable) *unreadable = {errno, std::generic_category()};
    return std::nullopt;
  };
  const FilePtr file = OpenNative(path, "rb");
  if (!file) return fail();
  const bool isJpeg = std::fgetc(file.get()) == 0xFF && std::fgetc(file.get()) == kStartOfImage;
  JpegHeader header;
  if (isJpeg ? !ReadSegments(file.get(), header) : std::ferror(file.get()) != 0) return fail();
  return isJpeg ? std::optional(header) : std::nullopt;
}

}  // namespace kv::mission
