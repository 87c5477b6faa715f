#include "photos/PictureFile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/FileNames.h"

namespace kv {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kStartOfJpeg = "\xFF\xD8\xFF"sv;
constexpr std::string_view kEndOfJpeg = "\xFF\xD9"sv;
constexpr int kMarker = 0xFF, kStartOfScan = 0xDA;

// The kinds that OpenCV encodes in memory. Others go through a file in the temporary folder, and when that is full,
// what comes back is cut off without a word; what is not in this list is only checked once more.
constexpr std::string_view kEncodedInMemory[] = {".jpg", ".JPG",  ".jpeg", ".JPEG", ".png",
                                                 ".tif", ".tiff", ".bmp",  ".webp"};

// The reason is for the debugger's reader: callers say one sentence for all.
[[noreturn]] void Fail(const char* reason) { throw std::runtime_error(reason); }

// @param count  bytes that stand there
std::string ReadAt(std::FILE* file, std::uint64_t offset, std::uint64_t count) {
  std::string bytes(count, '\0');
  if (!SeekFile(file, offset) || std::fread(bytes.data(), 1, count, file) != count) Fail("file not read");
  return bytes;
}

// Moves to the pixels of a JPEG, behind its leading segments, each a two-byte marker and a length that counts itself.
// One of them may hold a preview, a whole JPEG with an end of its own.
void SkipSegments(std::FILE* file) {
  bool isMarker = false;
  for (int byte; (byte = std::getc(file)) != EOF;) {
    if (!isMarker || byte == kMarker) {
      isMarker = byte == kMarker;  // stray bytes, and fill bytes before a marker
    } else if (byte == kStartOfScan) {
      return;
    } else {
      const int high = std::getc(file), low = std::getc(file);
      if (low == EOF || std::fseek(file, high * 256L + low - 2, SEEK_CUR) != 0) return;
      isMarker = false;
    }
  }
}

bool HoldsEnd(std::FILE* file) {
  std::array<char, 1 << 16> block;
  char last = 0;
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), file)) {
    const std::string_view bytes(block.data(), count);
    if ((last == kEndOfJpeg[0] && bytes[0] == kEndOfJpeg[1]) || bytes.find(kEndOfJpeg) != std::string_view::npos)
      return true;
    last = bytes.back();
  }
  return false;
}

// A JPEG without its end was cut off. It would decode with gray rows and be graded by them; no answer is better, so it
// is refused. Other data may follow the end; only then the whole file is looked through.
bool IsCutOff(std::FILE* file, std::uint64_t size) {
  if (size < kStartOfJpeg.size() || ReadAt(file, 0, kStartOfJpeg.size()) != kStartOfJpeg) return false;
  if (ReadAt(file, size - kEndOfJpeg.size(), kEndOfJpeg.size()) == kEndOfJpeg) return false;
  if (!SeekFile(file, kStartOfJpeg.size() - 1)) Fail("file not read");
  SkipSegments(file);
  return !HoldsEnd(file);
}

// By name where that always works: the file's bytes and the picture need not be in memory together.
cv::Mat Decoded(std::wstring_view path, std::FILE* file, std::uint64_t size, int flags) {
  if (kNarrowNamesSpellAll) return cv::imread(NativePath(path).string(), flags);
  if (size > std::numeric_limits<int>::max()) Fail("file too large");
  std::string bytes = ReadAt(file, 0, size);
  return cv::imdecode(cv::Mat(1, static_cast<int>(size), CV_8UC1, bytes.data()), flags);
}

bool IsWhole(const std::vector<unsigned char>& bytes, const cv::Mat& picture) {
  return cv::imdecode(bytes, cv::IMREAD_UNCHANGED).size() == picture.size();
}

}  // namespace

cv::Mat ReadPicture(std::wstring_view path, int flags) {
  const FilePtr file = OpenFile(path, "rb");
  const std::uint64_t size = FileSize(path).value_or(0);
  if (!file || size == 0) Fail("no readable file");
  if (IsCutOff(file.get(), size)) Fail("JPEG cut off");
  cv::Mat picture = Decoded(path, file.get(), size, flags);
  if (picture.empty()) Fail("no picture");
  return picture;
}

void ReplacePicture(std::wstring_view path, const cv::Mat& picture) {
  std::vector<unsigned char> bytes;
  const std::string extension = Utf8FromWide(WidePath(NativePath(path).extension()));
  if (!cv::imencode(extension, picture, bytes)) Fail("picture not encoded");
  const bool inMemory =
      std::find(std::begin(kEncodedInMemory), std::end(kEncodedInMemory), extension) != std::end(kEncodedInMemory);
  if (!inMemory && !IsWhole(bytes, picture)) Fail("picture not encoded whole");
  if (!ReplaceFileContent(path, bytes)) Fail("file not replaced");
}

}  // namespace kv
