#include "photos/PictureFile.h"

#include <cstdint>
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
constexpr unsigned char kStartOfScan = 0xDA;

// The reason is for the debugger's reader: callers say one sentence for all.
[[noreturn]] void Fail(const char* reason) { throw std::runtime_error(reason); }

// @param count  bytes that stand there
std::string ReadAt(std::FILE* file, std::uint64_t offset, std::uint64_t count) {
  std::string bytes(count, '\0');
  if (!SeekFile(file, offset) || std::fread(bytes.data(), 1, count, file) != count) Fail("file not read");
  return bytes;
}

// Where the pixels of a JPEG begin: behind its leading segments, each a two-byte marker and a length that counts itself.
// One of them may hold a preview, a whole JPEG with an end of its own.
std::size_t StartOfPixels(std::string_view jpeg) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(jpeg[at]); };
  std::size_t at = 2;
  while (at + 4 <= jpeg.size()) {
    if (byte(at) != 0xFF || byte(at + 1) == 0xFF) {
      ++at;  // stray bytes, and fill bytes before a marker
    } else if (byte(at + 1) == kStartOfScan) {
      return at;
    } else {
      at += 2u + byte(at + 2) * 256u + byte(at + 3);
    }
  }
  return jpeg.size();
}

// A JPEG without its end was cut off. It would decode with gray rows and be graded by them; no answer is better, so it
// is refused. Other data may follow the end; only then the whole file is looked through.
bool IsCutOff(std::FILE* file, std::uint64_t size) {
  if (size < kStartOfJpeg.size() || ReadAt(file, 0, kStartOfJpeg.size()) != kStartOfJpeg) return false;
  if (ReadAt(file, size - kEndOfJpeg.size(), kEndOfJpeg.size()) == kEndOfJpeg) return false;
  const std::string jpeg = ReadAt(file, 0, size);
  return jpeg.find(kEndOfJpeg, StartOfPixels(jpeg)) == std::string::npos;
}

// By name where that always works: the file's bytes and the picture need not be in memory together.
cv::Mat Decoded(std::wstring_view path, std::FILE* file, std::uint64_t size, int flags) {
  if (kNarrowNamesSpellAll) return cv::imread(NativePath(path).string(), flags);
  if (size > std::numeric_limits<int>::max()) Fail("file too large");
  std::string bytes = ReadAt(file, 0, size);
  return cv::imdecode(cv::Mat(1, static_cast<int>(size), CV_8UC1, bytes.data()), flags);
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
  if (!ReplaceFileContent(path, bytes)) Fail("file not replaced");
}

}  // namespace kv
