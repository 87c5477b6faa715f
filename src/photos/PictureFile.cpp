#include "photos/PictureFile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "photos/Codecs.h"
#include "photos/JpegMarkers.h"
#include "photos/JpegRows.h"
#include "platform/FileNames.h"

namespace kv {
namespace {

// A band of rows fits a core's second cache.
constexpr int kBandPixels = 32 * 1024;
constexpr int kFewestBandRows = 4;  // a picture has at most 2^20 columns: a band takes 16 MiB at most

constexpr std::int64_t kMostPixels = std::int64_t{1} << 30;  // OpenCV takes no more

// Whether a narrow name can spell every file name, so that other libraries can open files by name.
constexpr bool kNarrowNamesSpellAll = std::is_same_v<std::filesystem::path::value_type, char>;
constexpr int kMarker = 0xFF, kEndOfBytes = -1;

// The formats that OpenCV encodes in memory. Others go through a file in the temporary folder, and are truncated
// silently when that is full; formats not in this list are decoded again as a check.
constexpr std::string_view kEncodedInMemory[] = {".jpg", ".JPG",  ".jpeg", ".JPEG", ".png",
                                                 ".tif", ".tiff", ".bmp",  ".webp"};

[[noreturn]] void Fail(const char* reason) { throw std::runtime_error(reason); }

std::string ReadAll(std::FILE* file, std::uint64_t size) {
  if (size > std::numeric_limits<int>::max()) Fail("the file is too large");
  std::string bytes(size, '\0');
  if (!SeekFile(file, 0) || std::fread(bytes.data(), 1, size, file) != size) Fail("the file cannot be read");
  return bytes;
}

bool IsJpeg(std::FILE* file) {
  std::array<char, kStartOfJpeg.size()> start;
  return std::string_view(start.data(), std::fread(start.data(), 1, start.size(), file)) == kStartOfJpeg;
}

// The pixels, which follow a JPEG's leading segments: each a two-byte marker and a length that counts itself. A segment
// may hold a preview, which is a whole JPEG with its own end mark.
std::string_view BehindSegments(std::string_view jpeg) {
  std::size_t at = kStartOfJpeg.size() - 1;
  const auto next = [&] { return at < jpeg.size() ? static_cast<unsigned char>(jpeg[at++]) : kEndOfBytes; };
  for (bool isMarker = false;;) {
    const int byte = next();
    if (byte == kEndOfBytes || (isMarker && byte == kStartOfScan)) break;
    if (!isMarker || byte == kMarker) {
      isMarker = byte == kMarker;  // stray bytes, and fill bytes before a marker
    } else {
      const int high = next(), low = next();
      if (low == kEndOfBytes) break;
      at = at - 2 + static_cast<std::size_t>(high * 256 + low);
      isMarker = false;
    }
  }
  return jpeg.substr(std::min(at, jpeg.size()));
}

// Whether a JPEG lacks its end mark. It would be decoded with invented rows and graded by them, so it is refused. Only
// if other data follow the end mark is the whole file searched.
bool IsCutOff(std::string_view jpeg) {
  return !jpeg.ends_with(kEndOfJpeg) && BehindSegments(jpeg).find(kEndOfJpeg) == std::string_view::npos;
}

/// @param complaint  receives what the decoder says of a damaged picture
/// @param pixels     receives their number; 0 when the header cannot be read
/// @return           false when OpenCV has to decode the picture
bool TakeJpegRows(std::FILE* file, const RowTaker& taker, std::string& complaint, std::int64_t& pixels) {
  JpegRows jpeg(file);
  if (!jpeg.ReadHeader()) return false;
  const auto [columns, rows] = jpeg.Size();
  pixels = std::int64_t{columns} * rows;
  if (pixels > kMostPixels) return false;
  bool isWhole = jpeg.Begin();
  if (!isWhole && jpeg.Complaint().empty()) jpeg.Check();  // OpenCV, which decodes this kind, does not tell of damage
  if (isWhole) taker.begin(jpeg.Size());
  // Rows that do not begin at a multiple of 16 bytes: libjpeg writes others past the cache, from which they are read next.
  const cv::Mat buffer(std::min(BandRows(columns), rows), (columns / 8 + 1) * 8, CV_8UC4);
  cv::Mat band = buffer.colRange(1, columns + 1);
  for (int row = 0; isWhole && row < rows; row += band.rows) {
    if (row + band.rows > rows) band = band.rowRange(0, rows - row);
    isWhole = jpeg.Read(band);
    if (isWhole) taker.take(band);
  }
  isWhole = isWhole && jpeg.End();
  if (!isWhole) complaint = jpeg.Complaint();
  return isWhole;
}

bool IsWhole(const std::vector<unsigned char>& bytes, const cv::Mat& picture) {
  return Codecs().decode(cv::Mat(bytes).reshape(1, 1), cv::IMREAD_UNCHANGED).size() == picture.size();
}

}  // namespace

// A JPEG is small compared with its picture and decodes faster from memory than in reads of 4 KiB. Other files are
// opened by name where that always works, so that bytes and picture are not in memory together.
cv::Mat ReadPicture(const std::filesystem::path& path, int flags) {
  const FilePtr file = OpenNative(path, "rb");
  const std::uint64_t size = file ? FileSize(file.get()).value_or(0) : 0;
  if (size == 0) Fail("not a readable file");
  cv::Mat picture;
  if (const bool isJpeg = IsJpeg(file.get()); isJpeg || !kNarrowNamesSpellAll) {
    std::string bytes = ReadAll(file.get(), size);
    if (isJpeg && IsCutOff(bytes)) Fail("the JPEG is cut off");
    picture = Codecs().decode(cv::Mat(1, static_cast<int>(size), CV_8UC1, bytes.data()), flags);
  } else {
    picture = Codecs().read(path.string(), flags);
  }
  if (picture.empty()) Fail("not a picture that can be decoded");
  return picture;
}

int BandRows(int columns) { return std::max(kBandPixels / columns, kFewestBandRows); }

std::string ReadPictureRows(const std::filesystem::path& path, const RowTaker& taker, std::int64_t mostWhole) {
  std::string complaint;
  std::int64_t pixels = 0;
  if (const FilePtr file = OpenNative(path, "rb"); file && IsJpeg(file.get())) {
    if (!SeekFile(file.get(), 0)) Fail("the file cannot be read");
    if (TakeJpegRows(file.get(), taker, complaint, pixels)) return {};
  }
  if (pixels > mostWhole) Fail(complaint.empty() ? "too large to be decoded whole" : complaint.c_str());
  const cv::Mat picture = ReadPicture(path, cv::IMREAD_COLOR | cv::IMREAD_IGNORE_ORIENTATION);
  taker.begin(picture.size());
  const int bandRows = BandRows(picture.cols);
  for (int row = 0; row < picture.rows; row += bandRows)
    taker.take(picture.rowRange(row, std::min(row + bandRows, picture.rows)));
  return complaint;
}

void ReplacePicture(std::wstring_view path, const cv::Mat& picture) {
  std::vector<unsigned char> bytes;
  const std::string extension = Utf8FromWide(WidePath(NativePath(path).extension()));
  if (!Codecs().encode(extension, picture, bytes, {})) Fail("picture not encoded");
  const bool inMemory =
      std::find(std::begin(kEncodedInMemory), std::end(kEncodedInMemory), extension) != std::end(kEncodedInMemory);
  if (!inMemory && !IsWhole(bytes, picture)) Fail("picture not encoded whole");
  if (!ReplaceFileContent(path, bytes)) Fail("file not replaced");
}

}  // namespace kv
