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

[[noreturn]] void Fail(const char* reason) { throw std::runtime_error(reason); }

std::string_view TextOf(const cv::Mat& bytes) { return {bytes.ptr<char>(), bytes.total()}; }

cv::Mat ReadBytes(std::wstring_view path) {
  const FilePtr file = OpenFile(path, "rb");
  const std::uint64_t size = FileSize(path).value_or(0);
  if (!file || size == 0 || size > std::numeric_limits<int>::max()) Fail("no readable file");
  cv::Mat bytes(1, static_cast<int>(size), CV_8UC1);
  if (std::fread(bytes.data, 1, bytes.total(), file.get()) != bytes.total()) Fail("file not read to its end");
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

// A JPEG without its end was cut off. Other data may follow the end.
bool IsCutOff(std::string_view bytes) {
  if (!bytes.starts_with(kStartOfJpeg) || bytes.ends_with(kEndOfJpeg)) return false;
  return bytes.find(kEndOfJpeg, StartOfPixels(bytes)) == std::string_view::npos;
}

}  // namespace

cv::Mat ReadPicture(std::wstring_view path, int flags) {
  const cv::Mat bytes = ReadBytes(path);
  if (IsCutOff(TextOf(bytes))) Fail("JPEG cut off");
  cv::Mat picture = cv::imdecode(bytes, flags);
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
