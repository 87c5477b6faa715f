#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "JpegBytes.h"
#include "photos/Pictures.h"
#include "support/CommandTest.h"

/// Small files that claim, or unpack to, a lot.
namespace {

using namespace std::string_literals;

constexpr unsigned char kBaseline = 0xC0, kProgressive = 0xC2, kArithmetic = 0xC9;

/// A JPEG up to its first scan. Its Huffman codes are single bits: 0 is a difference of 0, and the end of a block.
std::string JpegOf(unsigned char frame, int side, int components) {
  std::string header = "\x08"s;
  for (const int byte : {side >> 8, side, side >> 8, side, components}) header += static_cast<char>(byte);
  for (int i = 1; i <= components; ++i) header += {static_cast<char>(i), '\x11', '\0'};
  std::string file = "\xFF\xD8"s + Segment(0xDB, '\0' + std::string(64, '\1')) + Segment(frame, header);
  for (const char table : {'\0', '\x10'}) file += Segment(0xC4, table + "\1"s + std::string(16, '\0'));
  return file;
}

std::string Scan(int components, char first, char last) {
  std::string header{static_cast<char>(components)};
  for (int i = 1; i <= components; ++i) header += {static_cast<char>(i), '\0'};
  return Segment(0xDA, header + first + last + '\0');
}

const std::string kEnd = "\xFF\xD9";

/// All blocks of 8 x 8 pixels, two bits each.
std::string Blank(int side) { return std::string(static_cast<std::size_t>((side / 8 * (side / 8) + 3) / 4), '\0'); }

std::string Times(std::size_t count, const std::string& text) {
  std::string all;
  for (; count > 0; --count) all += text;
  return all;
}

std::string Big(std::uint32_t number) {
  std::string bytes;
  for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(number >> shift);
  return bytes;
}

/// @param type  3: 16 bits, 4: 32 bits, 16: 64 bits at an offset, which here holds 0x100000000 / 16
std::string TiffOf(const std::vector<std::array<std::uint32_t, 3>>& fields) {
  std::string file = "MM\0*"s + Big(32) + Big(0) + Big(1 << 15) + std::string(16, '\0');
  file += std::string{'\0', static_cast<char>(fields.size())};
  for (const auto& [tag, type, value] : fields)
    file += Big(tag << 16 | type) + Big(1) + Big(type == 3 ? value << 16 : value);
  return file + std::string(1000, '\0');
}

std::string PngOf(std::uint32_t side) {
  std::string file = Encoded(".png", Noise(8, 8, CV_8UC1));
  return file.replace(16, 8, Big(side) + Big(side));
}

#if defined(__SANITIZE_ADDRESS__)
constexpr int kOverhead = 10;
#else
constexpr int kOverhead = 1;
#endif

class BombTest : public CommandTest {
 protected:
  /// Of the processes so far: processor time, and the memory of the largest in KiB.
  static rusage Used() {
    rusage used;
    getrusage(RUSAGE_CHILDREN, &used);
    return used;
  }
  static double Seconds(const rusage& used) {
    return static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
  }
};

TEST_F(BombTest, EveryKindEndsSoonAndSmallWithASentence) {
  const std::string padding = Times(16, Segment(0xFE, std::string(65'000, 'x'))), notAPhoto = "bytes: not a photo";
  const std::string progressive = JpegOf(kProgressive, 16'000, 1);
  const std::string cmyk = JpegOf(kBaseline, 10'000, 4), unknown = "not a JPEG, PNG, TIFF, BMP or WebP picture";
  struct {
    const char* description;
    std::string bytes, said;
  } const rows[] = {
      {"progressive JPEG", progressive + padding + Scan(1, 0, 0) + Blank(4000) + kEnd, notAPhoto},
      {"JPEG of 268 megapixels", JpegOf(kBaseline, 16'384, 1) + Scan(1, 0, 63) + Blank(16'384) + kEnd, notAPhoto},
      {"JPEG damaged at its end", JpegOf(kBaseline, 11'000, 1) + Scan(1, 0, 63) + Blank(10'990) + "\xFF\xFF" + kEnd,
       "not graded: Corrupt JPEG data"},
      {"JPEG with four channels", cmyk + padding + Scan(4, 0, 63) + Blank(10'000) + kEnd, notAPhoto},
      {"JPEG with too many scans",
       JpegOf(kProgressive, 4096, 1) + Times(50'000, Scan(1, 0, 0) + std::string(2, '\0')) + kEnd,
       "it passes 50000 times over its pixels: not a photo"},
      {"JPEG without data", JpegOf(kArithmetic, 64, 1) + Scan(1, 0, 63) + kEnd, "it has no picture data"},
      {"JPEG without colours", JpegOf(kBaseline, 64, 3) + Scan(1, 0, 63) + Blank(64) + kEnd, "colours are missing"},
      {"JPEG without a frame", "\xFF\xD8" + Scan(1, 0, 63) + kEnd, "not a picture that can be decoded: "},
      {"PNG", PngOf(20'000), notAPhoto},
      {"PNG of blank rows", Encoded(".png", cv::Mat::zeros(8200, 8200, CV_8UC1)), notAPhoto},
      {"TIFF", TiffOf({{256, 4, 30'000}, {257, 4, 30'000}}), notAPhoto},
      {"TIFF with a large tile", TiffOf({{256, 3, 64}, {257, 3, 64}, {322, 4, 30'000}, {323, 4, 30'000}}), notAPhoto},
      {"TIFF with a large strip", TiffOf({{256, 3, 64}, {257, 3, 64}, {278, 4, 1 << 23}}), notAPhoto},
      {"TIFF with deep samples", TiffOf({{256, 3, 4000}, {257, 3, 4000}, {258, 3, 64}, {277, 3, 4}}), notAPhoto},
      {"TIFF with a size elsewhere", TiffOf({{256, 16, 8}, {257, 4, 20'000}}), notAPhoto},
      {"TIFF with a size of an odd type", TiffOf({{256, 7, 8}, {257, 4, 9}}), "its header cannot be read"},
      {"BMP", "BM"s + std::string(12, '\0') + "\x28\0\0\0\x30\x75\0\0\x30\x75\0\0"s + std::string(40, '\0'), notAPhoto},
      {"WebP", "RIFF\x64\0\0\0WEBPVP8L\x10\0\0\0\x2F\xFF\xFF\xFF\x0F"s + std::string(40, '\0'), notAPhoto},
      {"PNM", "P6 30000 30000 255\n" + std::string(100, 'x'), unknown},
      {"Radiance", "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 30000 +X 30000\n", unknown},
      {"Sun raster", "\x59\xA6\x6A\x95" + Big(30'000) + Big(30'000) + Big(24) + std::string(40, '\0'), unknown},
      {"OpenEXR", "v/1\1\2\0\0\0channels"s, unknown},
      {"JPEG 2000", "\0\0\0\x0CjP  \r\n\x87\n"s + std::string(90, '\0'), unknown},
      {"a text", "no picture", unknown}};
  for (const auto& [description, bytes, said] : rows) {
    temp_.Write("a.jpg", bytes);
    const rusage before = Used();
    EXPECT_EQ(Shell("$K grade -q a.jpg"), 1) << description;
    EXPECT_LT(Seconds(Used()) - Seconds(before), 2 * kOverhead) << description;
    EXPECT_NE(Errors().find(said), std::string::npos) << description << '\n' << Errors();
    EXPECT_LT(Used().ru_maxrss, 300'000 * kOverhead) << description;
  }
}

/// What is just not refused is no burden either, and photos are never refused.
TEST_F(BombTest, LargePhotosAreRead) {
  cv::Mat photo(9000, 11'000, CV_8UC3);
  cv::randu(photo, 100, 140);
  std::vector<unsigned char> progressive;
  cv::imencode(".jpg", photo, progressive, {cv::IMWRITE_JPEG_PROGRESSIVE, 1, cv::IMWRITE_JPEG_QUALITY, 60});
  temp_.Write("progressive.jpg", {reinterpret_cast<const char*>(progressive.data()), progressive.size()});
  temp_.Write("blank.jpg", JpegOf(kBaseline, 11'000, 1) + Scan(1, 0, 63) + Blank(11'000) + kEnd);
  temp_.Write("blank.png", Encoded(".png", cv::Mat::zeros(4000, 4000, CV_8UC3)));
  for (const char* name : {"progressive.jpg", "blank.jpg", "blank.png"})
    EXPECT_EQ(Shell("$K grade -q "s + name), 0) << name << '\n' << Errors();
}

}  // namespace
