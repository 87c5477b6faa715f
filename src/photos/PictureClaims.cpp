#include "photos/PictureClaims.h"

#include <KVMission.h>
#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "photos/JpegMarkers.h"
#include "photos/JpegRows.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

struct Size {
  std::uint64_t columns = 0, rows = 0;

  double Pixels() const { return static_cast<double>(columns) * static_cast<double>(rows); }
};
using MaybeSize = std::optional<Size>;

// Smaller pictures take little memory whatever their file holds.
constexpr double kHarmlessPixels = 1 << 24;
// Huffman coding spends a bit on each block of 64 pixels at least. Black pictures of other kinds take more bytes, too.
constexpr double kMostPixelsPerByte = 8 * 64;

std::uint64_t Number(std::string_view bytes, bool isBigEndian) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[isBigEndian ? i : bytes.size() - 1 - i]);
    number = number << 8 | byte;
  }
  return number;
}

/// The bytes at a place of a file; fewer at its end.
std::string BytesAt(std::FILE* file, std::uint64_t at, std::size_t count) {
  std::string bytes(count, '\0');
  if (!SeekFile(file, at)) return {};
  bytes.resize(std::fread(bytes.data(), 1, count, file));
  return bytes;
}

MaybeSize SizeOfPng(std::string_view start) {
  return Size{Number(start.substr(16, 4), true), Number(start.substr(20, 4), true)};
}

MaybeSize SizeOfBmp(std::string_view start) {
  const auto number = [&](std::size_t at, std::size_t bytes) { return Number(start.substr(at, bytes), false); };
  if (number(14, 4) == 12) return Size{number(18, 2), number(20, 2)};
  const auto rows = static_cast<std::int32_t>(number(22, 4));  // below 0 when they are stored from top to bottom
  return Size{number(18, 4), static_cast<std::uint64_t>(std::abs(std::int64_t{rows}))};
}

MaybeSize SizeOfWebp(std::string_view start) {
  const auto number = [&](std::size_t at, std::size_t bytes) { return Number(start.substr(at, bytes), false); };
  const std::string_view kind = start.substr(12, 4);
  if (kind == "VP8 ") return Size{number(26, 2) & 0x3FFF, number(28, 2) & 0x3FFF};
  if (kind == "VP8L") return Size{(number(21, 4) & 0x3FFF) + 1, (number(21, 4) >> 14 & 0x3FFF) + 1};
  if (kind == "VP8X") return Size{number(24, 3) + 1, number(27, 3) + 1};
  return std::nullopt;
}

/// The fields of a TIFF's first directory: of 12 bytes, or of 20 where offsets have 8 bytes.
MaybeSize SizeOfTiff(std::FILE* file, std::string_view start) {
  constexpr std::uint64_t kWidth = 256, kLength = 257, kShort = 3, kLong = 4;
  const bool isBigEndian = start[0] == 'M';
  const auto number = [&](std::string_view bytes, std::size_t at, std::size_t count) {
    return Number(bytes.substr(at, count), isBigEndian);
  };
  const bool isBigTiff = number(start, 2, 2) == 43;
  const std::size_t offsetBytes = isBigTiff ? 8 : 4, countBytes = isBigTiff ? 8 : 2, valueAt = isBigTiff ? 12 : 8;
  const std::uint64_t directory = number(start, isBigTiff ? 8 : 4, offsetBytes);
  const std::string count = BytesAt(file, directory, countBytes);
  if (count.size() < countBytes) return std::nullopt;
  Size size;
  for (std::uint64_t left = std::min<std::uint64_t>(number(count, 0, countBytes), 0xFFFF); left > 0; --left) {
    std::array<char, 20> entry;
    const std::size_t entryBytes = valueAt + offsetBytes;
    if (std::fread(entry.data(), 1, entryBytes, file) != entryBytes) break;
    const std::string_view field(entry.data(), entryBytes);
    const std::uint64_t tag = number(field, 0, 2), type = number(field, 2, 2);
    const std::uint64_t value = number(field, valueAt, type == kShort ? 2 : type == kLong ? 4 : offsetBytes);
    if (tag == kWidth) size.columns = value;
    if (tag == kLength) size.rows = value;
  }
  return size;
}

MaybeSize SizeOfJpeg(std::FILE* file) {
  JpegRows jpeg(file);
  if (!SeekFile(file, 0) || !jpeg.ReadHeader()) return std::nullopt;
  return Size{static_cast<std::uint64_t>(jpeg.Size().width), static_cast<std::uint64_t>(jpeg.Size().height)};
}

MaybeSize ClaimedSize(std::FILE* file) {
  const std::string start = BytesAt(file, 0, 32);
  if (start.starts_with(kStartOfJpeg)) return SizeOfJpeg(file);
  if (start.size() < 32) return std::nullopt;
  if (start.starts_with("\x89PNG\r\n\x1A\n")) return SizeOfPng(start);
  if (start.starts_with("BM")) return SizeOfBmp(start);
  if (start.starts_with("RIFF") && start.substr(8, 4) == "WEBP") return SizeOfWebp(start);
  for (const std::string_view tiff : {std::string_view("II*\0", 4), {"MM\0*", 4}, {"II+\0", 4}, {"MM\0+", 4}})
    if (start.starts_with(tiff)) return SizeOfTiff(file, start);
  return std::nullopt;
}

}  // namespace

void RefuseHugePicture(const std::filesystem::path& path, double mostMegapixels) {
  std::error_code ignored;
  if (std::filesystem::is_other(path, ignored)) throw KVMission::Failure("not a regular file");
  const FilePtr file = OpenNative(path, "rb");
  if (!file) return;
  const MaybeSize size = ClaimedSize(file.get());
  if (!size) return;
  const double pixels = size->Pixels();
  const auto claim = [&] { return fmt::format("it claims {} x {} pixels", size->columns, size->rows); };
  if (!(pixels <= mostMegapixels * 1e6))
    throw KVMission::Failure(fmt::format("{}, more than {} megapixels; see --max-megapixels", claim(), mostMegapixels));
  const std::uint64_t bytes = FileSize(file.get()).value_or(0);
  if (pixels > kHarmlessPixels && pixels > kMostPixelsPerByte * static_cast<double>(bytes))
    throw KVMission::Failure(fmt::format("{} in {} bytes: not a photo", claim(), bytes));
}

}  // namespace kv::mission
