#include "photos/JpegRows.h"

#include <gtest/gtest.h>

#include <exception>
#include <optional>
#include <random>

#include <jpeglib.h>  // takes FILE and size_t from above

#include "baseline/Sharpness.h"
#include "photos/Pictures.h"
#include "photos/Sharpness.h"
#include "support/TempFolder.h"
#include "support/TestSize.h"

namespace {

enum class Coding { Baseline, Progressive, Arithmetic, SeveralScans, NoTables };

struct Form {
  const char* name;
  J_COLOR_SPACE stored;
  int across = 1, down = 1;  // samples of the first component for each of the others
  Coding coding = Coding::Baseline;
  unsigned restart = 0;  // blocks
};

constexpr Form kForms[] = {
    {"4:4:4", JCS_YCbCr},
    {"4:2:2", JCS_YCbCr, 2, 1},
    {"4:2:0", JCS_YCbCr, 2, 2},
    {"4:4:0", JCS_YCbCr, 1, 2},
    {"4:1:1", JCS_YCbCr, 4, 1},
    {"4:1:0", JCS_YCbCr, 4, 2},
    {"RGB", JCS_RGB},
    {"grey", JCS_GRAYSCALE},
    {"grey of 2 x 2 blocks", JCS_GRAYSCALE, 2, 2},
    {"restarts", JCS_YCbCr, 2, 2, Coding::Baseline, 3},
    {"progressive", JCS_YCbCr, 2, 2, Coding::Progressive},
    {"progressive grey", JCS_GRAYSCALE, 1, 1, Coding::Progressive, 1},
    {"arithmetic", JCS_YCbCr, 2, 1, Coding::Arithmetic},
    {"one scan for each component", JCS_YCbCr, 2, 2, Coding::SeveralScans},
    {"no Huffman tables", JCS_YCbCr, 2, 1, Coding::NoTables},
    {"CMYK", JCS_CMYK},
    {"YCCK", JCS_YCCK, 2, 2},
};

std::string Jpeg(const Form& form, int columns, int rows, std::mt19937& random) {
  jpeg_compress_struct encoder{};
  jpeg_error_mgr errors;
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&encoder, &bytes, &size);
  encoder.image_width = static_cast<JDIMENSION>(columns), encoder.image_height = static_cast<JDIMENSION>(rows);
  const bool isGrey = form.stored == JCS_GRAYSCALE, hasFour = form.stored == JCS_CMYK || form.stored == JCS_YCCK;
  encoder.in_color_space = isGrey ? JCS_GRAYSCALE : hasFour ? JCS_CMYK : JCS_RGB;
  encoder.input_components = isGrey ? 1 : hasFour ? 4 : 3;
  jpeg_set_defaults(&encoder);
  jpeg_set_colorspace(&encoder, form.stored);
  jpeg_set_quality(&encoder, 30 + static_cast<int>(random() % 70), TRUE);
  for (int i = 0; i < encoder.num_components; ++i) {
    encoder.comp_info[i].h_samp_factor = i == 0 ? form.across : 1;
    encoder.comp_info[i].v_samp_factor = i == 0 ? form.down : 1;
  }
  encoder.restart_interval = form.restart;
  encoder.arith_code = form.coding == Coding::Arithmetic;
  if (form.coding == Coding::Progressive) jpeg_simple_progression(&encoder);
  jpeg_scan_info scans[3] = {};
  for (int i = 0; i < 3; ++i) scans[i] = {1, {i}, 0, 63, 0, 0};
  if (form.coding == Coding::SeveralScans) encoder.scan_info = scans, encoder.num_scans = 3;
  jpeg_start_compress(&encoder, form.coding != Coding::NoTables);
  const cv::Mat pixels = Noise(columns * encoder.input_components, rows, CV_8UC1);
  for (int row = 0; row < rows; ++row) {
    JSAMPROW line = const_cast<JSAMPROW>(pixels.ptr(row));
    jpeg_write_scanlines(&encoder, &line, 1);
  }
  jpeg_finish_compress(&encoder);
  std::string file(reinterpret_cast<const char*>(bytes), size);
  jpeg_destroy_compress(&encoder);
  std::free(bytes);
  if (form.coding == Coding::NoTables) {  // as the frames of films leave them out
    for (std::size_t at = file.find("\xFF\xC4"); at != file.npos; at = file.find("\xFF\xC4"))
      file.erase(at, 2 + static_cast<std::size_t>(static_cast<unsigned char>(file[at + 2]) * 256 +
                                                  static_cast<unsigned char>(file[at + 3])));
  }
  return file;
}

bool ComesInRows(const std::string& file) {
  kv::JpegRows rows(file);
  return rows.ReadHeader() && rows.Begin();
}

/// Nothing when it is refused.
template <class Grade>
std::optional<double> FactorBy(Grade grade) try {
  return grade();
} catch (const std::exception&) {
  return std::nullopt;
}
std::optional<double> FactorOfRows(const std::wstring& path) {
  return FactorBy([&] { return kv::GradeFile(path).sharpness; });
}
std::optional<double> FactorOfWhole(const std::wstring& path) {
  return FactorBy(
      [&] { return baseline::SharpnessOf(kv::ReadPicture(path, cv::IMREAD_COLOR | cv::IMREAD_IGNORE_ORIENTATION)); });
}

TEST(JpegRows, EqualTheWholePictureToTheLastBit) {
  const TempFolder folder;
  std::mt19937 random(3);
  const auto expectEqual = [&](const Form& form, int columns, int rows) {
    const std::string file = Jpeg(form, columns, rows, random);
    const bool hasFour = form.stored == JCS_CMYK || form.stored == JCS_YCCK;
    ASSERT_EQ(ComesInRows(file), !hasFour) << form.name;
    const std::wstring path = folder.Write("a.jpg", file);
    ASSERT_TRUE(FactorOfWhole(path)) << form.name;
    ASSERT_EQ(FactorOfRows(path), FactorOfWhole(path)) << form.name << ", " << columns << " x " << rows;
  };
  for (const Form& form : kForms) {
    for (const auto& [columns, rows] : {std::pair(1, 1), {1, 40}, {40, 1}, {2, 2}, {17, 9}, {64, 48}, {1000, 131}})
      expectEqual(form, columns, rows);
    for (int round = TestSize(3, 200); round > 0; --round)
      expectEqual(form, 1 + static_cast<int>(random() % 900), 1 + static_cast<int>(random() % 300));
  }
  expectEqual(kForms[2], 20'000, 30);
  expectEqual(kForms[2], 30, 20'000);
}

/// Pictures that are cut, have holes, or are garbled, are graded as the whole picture would be, or refused as it is.
TEST(JpegRows, EqualTheWholePictureWhenItIsDamaged) {
  const TempFolder folder;
  std::mt19937 random(4);
  std::size_t graded = 0, refused = 0, damaged = 0;
  for (const Form& form : kForms) {
    const std::string whole = Jpeg(form, 200, 120, random);
    for (int round = TestSize(12, 400); round > 0; --round) {
      std::string file = whole;
      const std::size_t at = 2 + random() % (whole.size() - 2), length = random() % 60;
      if (round % 3 == 0) file.resize(at);
      if (round % 3 == 1) file.erase(at, length);
      for (std::size_t i = at; round % 3 == 2 && i < std::min(at + 1 + length / 10, file.size()); ++i)
        file[i] = static_cast<char>(random());
      if (round % 2) file += "\xFF\xD9";
      const std::wstring path = folder.Write("a.jpg", file);
      const auto expected = FactorOfWhole(path);
      ASSERT_EQ(FactorOfRows(path), expected) << form.name << ", round " << round;
      expected ? ++graded : ++refused;
      if (expected && !kv::GradeFile(path).damage.empty()) ++damaged;
    }
  }
  EXPECT_GT(graded, 0u);
  EXPECT_GT(refused, 0u);
  EXPECT_GT(damaged, graded / 3);
}

TEST(JpegRows, TellOfDamageInThePictureOnly) {
  const TempFolder folder;
  std::mt19937 random(5);
  const std::string whole = Jpeg(kForms[2], 200, 120, random);
  const std::size_t middle = whole.size() / 2, tables = whole.find("\xFF\xDB");
  const std::string holed = whole.substr(0, middle) + whole.substr(middle + 500);
  const std::string four = Jpeg(kForms[15], 200, 120, random);
  struct {
    const char* description;
    std::string file;
    bool isDamaged;
  } const rows[] = {
      {"whole", whole, false},
      {"stray bytes before a segment", whole.substr(0, tables) + "abc" + whole.substr(tables), false},
      {"data behind", whole + whole.substr(0, 500), false},
      {"four channels", four, false},
      {"four channels with a hole", four.substr(0, four.size() / 2) + four.substr(four.size() / 2 + 500), true},
      {"stray bytes and a hole", std::string(holed).insert(tables, "abc"), true},
      {"a hole", holed, true},
      {"bytes left over", whole.substr(0, whole.size() - 2) + std::string(50, 'a') + "\xFF\xD9", true},
      {"cut, with an end", whole.substr(0, middle) + "\xFF\xD9", true}};
  for (const auto& [description, file, isDamaged] : rows) {
    EXPECT_EQ(!kv::GradeFile(folder.Write("a.jpg", file)).damage.empty(), isDamaged) << description;
    EXPECT_EQ(!kv::JpegDamage(file).empty(), isDamaged) << description;
  }
}

}  // namespace
