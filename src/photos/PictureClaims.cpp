#include "photos/PictureClaims.h"

#include <KVMission.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "photos/JpegMarkers.h"
#include "photos/JpegRows.h"
#include "photos/JpegSegments.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"

namespace kv::mission {
namespace {

using KVMission::Failure;

/// What a header says, and what decoding will take.
struct Claim {
  std::uint64_t columns = 0, rows = 0;
  double bytesPerPixel = kDecodedBytesPerPixel;
  double moreBytes = 0;

  double Pixels() const { return static_cast<double>(columns) * static_cast<double>(rows); }
  double Bytes() const { return Pixels() * bytesPerPixel + moreBytes; }
};
using MaybeClaim = std::optional<Claim>;

/// Pictures above so many pixels need so many bytes for them. Huffman coding spends a bit on each block of 64 pixels at
/// least; large photos have an eighth of a bit for each pixel at the very least.
constexpr struct { double pixels, pixelsPerByte; } kDensities[] = {{1 << 24, 8 * 64}, {1 << 27, 64}};

/// A photo at a quarter of a bit per pixel takes 200 times its bytes when it is decoded and turned.
constexpr double kHarmlessBytes = 210e6, kBytesPerByte = 205;

/// Each scan of a JPEG passes over all pixels. Cameras write a dozen.
constexpr std::size_t kUsualScans = 20;
constexpr double kMostScannedPixels = 2e9;
constexpr std::size_t kLargestScanned = std::size_t{1} << 30;  // bytes

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

MaybeClaim ClaimOfPng(std::string_view start) {
  return Claim{Number(start.substr(16, 4), true), Number(start.substr(20, 4), true)};
}

MaybeClaim ClaimOfBmp(std::string_view start) {
  const auto number = [&](std::size_t at, std::size_t bytes) { return Number(start.substr(at, bytes), false); };
  if (number(14, 4) == 12) return Claim{number(18, 2), number(20, 2)};
  const auto rows = static_cast<std::int32_t>(number(22, 4));  // below 0 when they are stored from top to bottom
  return Claim{number(18, 4), static_cast<std::uint64_t>(std::abs(std::int64_t{rows}))};
}

MaybeClaim ClaimOfWebp(std::string_view start) {
  constexpr double kLossy = 4.2, kLossless = 12;  // bytes a pixel, with the decoder's own copies
  const auto number = [&](std::size_t at, std::size_t bytes) { return Number(start.substr(at, bytes), false); };
  const std::string_view kind = start.substr(12, 4);
  if (kind == "VP8 ") return Claim{number(26, 2) & 0x3FFF, number(28, 2) & 0x3FFF, kLossy};
  if (kind == "VP8L") return Claim{(number(21, 4) & 0x3FFF) + 1, (number(21, 4) >> 14 & 0x3FFF) + 1, kLossless};
  if (kind == "VP8X") return Claim{number(24, 3) + 1, number(27, 3) + 1, kLossless};
  return std::nullopt;
}

/// The first directory of a TIFF: entries of 12 bytes, or of 20 where offsets have 8 bytes.
class TiffDirectory {
 public:
  /// @param start  of the file, 32 bytes
  TiffDirectory(std::FILE* file, std::string_view start)
      : file_(file), isBigEndian_(start[0] == 'M'), isBigTiff_(NumberIn(start, 2, 2) == 43) {
    const std::uint64_t at = NumberIn(start, isBigTiff_ ? 8 : 4, OffsetBytes());
    const std::size_t countBytes = isBigTiff_ ? 8 : 2;
    const std::string count = BytesAt(file, at, countBytes);
    if (count.size() < countBytes) return;
    const std::uint64_t entries = std::min<std::uint64_t>(NumberIn(count, 0, countBytes), 0xFFFF);
    entries_ = BytesAt(file, at + countBytes, entries * EntryBytes());
  }

  /// A tile or strip is in memory whole, even if it is larger than the picture.
  MaybeClaim Read() const {
    constexpr std::uint64_t kWidth = 256, kLength = 257, kBits = 258, kSamples = 277, kRowsPerStrip = 278,
                            kTileWidth = 322, kTileLength = 323, kAllRows = 0xFFFFFFFF;
    Claim claim;
    std::uint64_t bits = 8, samples = 1, stripColumns = 0, stripRows = 0;
    for (std::size_t at = 0; at + EntryBytes() <= entries_.size(); at += EntryBytes()) {
      const std::uint64_t tag = NumberIn(entries_, at, 2);
      std::uint64_t* const part = tag == kWidth                                ? &claim.columns
                                  : tag == kLength                             ? &claim.rows
                                  : tag == kTileWidth                          ? &stripColumns
                                  : tag == kTileLength || tag == kRowsPerStrip ? &stripRows
                                  : tag == kBits                               ? &bits
                                  : tag == kSamples                            ? &samples
                                                                               : nullptr;
      if (!part) continue;
      const auto value = FirstValue(at);
      if (!value) return std::nullopt;
      if (tag != kRowsPerStrip || *value < kAllRows) *part = std::max(*part, *value);
    }
    if (stripColumns == 0) stripColumns = claim.columns;
    if (stripRows == 0) stripRows = claim.rows;
    // The picture, the library's copy with four channels, and a strip as it is stored, twice.
    claim.bytesPerPixel = 7;
    claim.moreBytes = 2 * static_cast<double>(samples) * static_cast<double>(bits) / 8 *
                      static_cast<double>(stripColumns) * static_cast<double>(stripRows);
    return claim;
  }

 private:
  std::size_t OffsetBytes() const { return isBigTiff_ ? 8 : 4; }
  std::size_t EntryBytes() const { return isBigTiff_ ? 20 : 12; }
  std::uint64_t NumberIn(std::string_view bytes, std::size_t at, std::size_t count) const {
    return Number(bytes.substr(at, count), isBigEndian_);
  }

  /// Nothing for a type that no writer uses for sizes.
  std::optional<std::uint64_t> FirstValue(std::size_t at) const {
    constexpr std::uint64_t kShort = 3, kLong = 4, kLong8 = 16;
    const std::uint64_t type = NumberIn(entries_, at + 2, 2), count = NumberIn(entries_, at + 4, OffsetBytes());
    const std::size_t bytes = type == kShort ? 2 : type == kLong ? 4 : type == kLong8 ? 8 : 0;
    if (bytes == 0) return std::nullopt;
    const std::size_t valueAt = at + 4 + OffsetBytes();
    if (count <= OffsetBytes() / bytes) return NumberIn(entries_, valueAt, bytes);
    const std::string values = BytesAt(file_, NumberIn(entries_, valueAt, OffsetBytes()), bytes);
    if (values.size() < bytes) return std::nullopt;
    return NumberIn(values, 0, bytes);
  }

  std::FILE* file_;
  bool isBigEndian_, isBigTiff_;
  std::string entries_;
};

/// The decoder does not warn when data of such pictures are missing, and may be made to pass over them for hours.
void CheckScans(const std::filesystem::path& path, int components, double pixels) {
  const std::string file = ReadBeginning(path, std::min<std::uintmax_t>(file_size(path), kLargestScanned));
  const auto layout = LayOut(file);
  if (!layout) return;
  const JpegScans scans = ScansIn(layout->rest);
  if (!scans.hasData) throw Failure("it has no picture data");
  if (scans.components < components) throw Failure("its picture data are incomplete: colours are missing");
  if (scans.count > kUsualScans && static_cast<double>(scans.count) * pixels > kMostScannedPixels)
    throw Failure(fmt::format("it passes {} times over its pixels: not a photo", scans.count));
}

MaybeClaim ClaimOfJpeg(std::FILE* file, const std::filesystem::path& path, std::int64_t bytesPerPixel) {
  JpegRows jpeg(file);
  if (!SeekFile(file, 0)) return std::nullopt;
  if (!jpeg.ReadHeader()) throw Failure("not a picture that can be decoded: " + jpeg.Complaint());
  Claim claim{static_cast<std::uint64_t>(jpeg.Size().width), static_cast<std::uint64_t>(jpeg.Size().height)};
  const bool comesInRows = jpeg.Components() == 1 || jpeg.Components() == 3;
  claim.bytesPerPixel =
      static_cast<double>(comesInRows ? bytesPerPixel : std::max(bytesPerPixel, kDecodedBytesPerPixel));
  claim.moreBytes = static_cast<double>(jpeg.BytesOfSeveralScans());
  if (claim.moreBytes > 0 || jpeg.IsArithmetic()) CheckScans(path, jpeg.Components(), claim.Pixels());
  return claim;
}

MaybeClaim ClaimOf(std::FILE* file, const std::filesystem::path& path, std::int64_t bytesPerPixel) {
  std::string start = BytesAt(file, 0, 32);
  if (start.starts_with(kStartOfJpeg)) return ClaimOfJpeg(file, path, bytesPerPixel);
  if (bytesPerPixel > 0) throw Failure("not a JPEG file");
  const bool isCut = start.size() < 32;
  start.resize(32);
  const auto claim = [&]() -> MaybeClaim {
    if (start.starts_with("\x89PNG\r\n\x1A\n")) return ClaimOfPng(start);
    if (start.starts_with("BM")) return ClaimOfBmp(start);
    if (start.starts_with("RIFF") && start.substr(8, 4) == "WEBP") return ClaimOfWebp(start);
    for (const std::string_view tiff : {std::string_view("II*\0", 4), {"MM\0*", 4}, {"II+\0", 4}, {"MM\0+", 4}})
      if (start.starts_with(tiff)) return TiffDirectory(file, start).Read();
    throw Failure("not a JPEG, PNG, TIFF, BMP or WebP picture");
  }();
  return isCut ? std::nullopt : claim;
}

}  // namespace

std::int64_t CheckPicture(const std::filesystem::path& path, double mostMegapixels, std::int64_t bytesPerPixel) {
  std::error_code ignored;
  if (is_other(path, ignored)) throw Failure("not a regular file");
  const FilePtr file = OpenNative(path, "rb");
  const auto bytes = static_cast<double>(file ? FileSize(file.get()).value_or(0) : 0);
  if (bytes == 0) return 0;
  const MaybeClaim claim = ClaimOf(file.get(), path, bytesPerPixel);
  if (!claim || claim->Pixels() == 0) throw Failure("its header cannot be read");
  const double pixels = claim->Pixels(), most = std::max(kHarmlessBytes, kBytesPerByte * bytes);
  const std::string size = fmt::format("it claims {} x {} pixels", claim->columns, claim->rows);
  if (!(pixels <= mostMegapixels * 1e6))
    throw Failure(fmt::format("{}, more than {} megapixels; see --max-megapixels", size, mostMegapixels));
  const bool isThin = std::any_of(std::begin(kDensities), std::end(kDensities), [&](const auto& density) {
    return pixels > density.pixels && pixels > density.pixelsPerByte * bytes;
  });
  if (isThin || claim->Bytes() > most) throw Failure(fmt::format("{} in {} bytes: not a photo", size, bytes));
  return static_cast<std::int64_t>(most);
}

}  // namespace kv::mission
