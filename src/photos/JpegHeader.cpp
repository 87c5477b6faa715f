#include "photos/JpegHeader.h"

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

}  // namespace

std::optional<JpegHeader> ReadJpegHeader(const std::filesystem::path& path) {
  const FilePtr file = OpenNative(path, "rb");
  if (!file || std::fgetc(file.get()) != 0xFF || std::fgetc(file.get()) != kStartOfImage) return std::nullopt;
  JpegHeader header;
  while (header.width == 0) {
    const int marker = ReadMarker(file.get());
    if (marker < 0 || marker == kEndOfImage || marker == kStartOfScan) break;
    const int length = ReadBigEndian16(file.get()) - 2;  // counts itself
    if (length < 0) break;
    if (IsFrame(marker)) {
      ReadFrame(file.get(), header);
    } else if (marker == kApp1) {
      ReadExif(file.get(), static_cast<std::size_t>(length), header);
    } else if (std::fseek(file.get(), length, SEEK_CUR) != 0) {
      break;
    }
  }
  return header;
}

}  // namespace kv::mission
