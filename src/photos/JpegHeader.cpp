#include "photos/JpegHeader.h"

#include <string_view>

#include "platform/FileNames.h"

namespace kv::mission {
namespace {

constexpr int kStartOfImage = 0xD8;
constexpr int kEndOfImage = 0xD9;
constexpr int kStartOfScan = 0xDA;
constexpr int kExifSegment = 0xE1;
constexpr std::string_view kExifSignature("Exif\0\0", 6);

int ReadBigEndian16(std::FILE* file) {
  const int high = std::fgetc(file), low = std::fgetc(file);
  return high < 0 || low < 0 ? -1 : high * 256 + low;
}

/// The frame headers SOF0 to SOF15; three numbers between them are other segments (DHT, JPG, DAC).
bool IsFrame(int marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// Fill bytes 0xFF may stand before a marker.
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
  const bool begins = text.substr(0, kExifSignature.size()) == kExifSignature;
  if (begins && header.exif.empty()) header.exif = std::move(content);
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
    } else if (marker == kExifSegment) {
      ReadExif(file.get(), static_cast<std::size_t>(length), header);
    } else if (std::fseek(file.get(), length, SEEK_CUR) != 0) {
      break;
    }
  }
  return header;
}

}  // namespace kv::mission
