#include "photos/PictureClaims.h"

#include <KVMission.h>
#include <gtest/gtest.h>

#include "photos/Pictures.h"
#include "support/TempFolder.h"

namespace kv::mission {
namespace {

using namespace std::string_literals;

/// Empty when it passes.
std::string Refusal(const std::filesystem::path& path, double mostMegapixels) try {
  CheckPicture(path, mostMegapixels);
  return {};
} catch (const KVMission::Failure& failure) {
  return failure.what();
}

const std::string kClassicTiff = "MM\0*\0\0\0\x20"s + std::string(24, '\0') +
                                 "\0\x02\x01\0\0\x03\0\0\0\x01\0\x3C\0\0\x01\x01\0\x04\0\0\0\x01\0\0\0\x32"s;
const std::string kBigTiff =
    "II+\0\x08\0\0\0\x20\0\0\0\0\0\0\0"s + std::string(16, '\0') + "\x02\0\0\0\0\0\0\0"s +
    "\0\x01\x10\0\x01\0\0\0\0\0\0\0\x3C\0\0\0\0\0\0\0\x01\x01\x03\0\x01\0\0\0\0\0\0\0\x32\0\0\0\0\0\0\0"s;

TEST(PictureClaims, AreReadInEveryKind) {
  const cv::Mat picture = Noise(60, 50, CV_8UC3);
  std::vector<unsigned char> lossless;
  cv::imencode(".webp", picture, lossless, {cv::IMWRITE_WEBP_QUALITY, 101});
  struct {
    const char* kind;
    std::string bytes;
  } const rows[] = {{"JPEG", Encoded(".jpg", picture)},  {"PNG", Encoded(".png", picture)},
                    {"BMP", Encoded(".bmp", picture)},   {"TIFF", Encoded(".tif", picture)},
                    {"TIFF, big-endian", kClassicTiff},  {"TIFF of 64 bits", kBigTiff},
                    {"WebP", Encoded(".webp", picture)}, {"WebP, lossless", {lossless.begin(), lossless.end()}}};
  const TempFolder folder;
  for (const auto& [kind, bytes] : rows) {
    folder.Write("a", bytes);
    EXPECT_EQ(Refusal(folder.Path() / "a", 0.003), "") << kind;
    EXPECT_EQ(Refusal(folder.Path() / "a", 0.0029),
              "it claims 60 x 50 pixels, more than 0.0029 megapixels; see --max-megapixels")
        << kind;
    for (std::size_t length = 1; length < std::min<std::size_t>(bytes.size(), 100); ++length) {
      folder.Write("a", bytes.substr(0, length));
      EXPECT_NE(Refusal(folder.Path() / "a", 0.0029), "") << kind << ", cut off at " << length;
    }
  }
  EXPECT_EQ(Refusal(folder.Path() / "none", 1e-6), "");
}

TEST(PictureClaims, ThatAFileCannotHoldAreRefused) {
  std::string jpeg = Encoded(".jpg", Noise(60, 50, CV_8UC3)), png = Encoded(".png", Noise(60, 50, CV_8UC3));
  jpeg.replace(jpeg.find("\xFF\xC0") + 5, 4, "\x70\0\x70\0"s);  // 28672 x 28672
  png.replace(16, 8, "\0\0\x40\0\0\0\x40\0"s);                  // 16384 x 16384
  const TempFolder folder;
  for (const std::string& bomb : {jpeg, png}) {
    folder.Write("a.jpg", bomb);
    const std::string refusal = Refusal(folder.Path() / "a.jpg", 1000);
    EXPECT_TRUE(refusal.ends_with("bytes: not a photo")) << refusal;
    KVMission::Observer nobody;
    const auto grade = KVMission::GradePhotos({folder.Path() / "a.jpg"}, {}, nobody).at(0);
    EXPECT_EQ(grade.sharpness, 0);
    EXPECT_EQ(grade.complaint, refusal);
    EXPECT_THROW(KVMission::RotatePhoto(folder.Path() / "a.jpg", 90, {}), KVMission::Failure);
  }
}

}  // namespace
}  // namespace kv::mission
