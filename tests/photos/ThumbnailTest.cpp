#include "photos/Thumbnail.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "photos/BoxFilter.h"
#include "photos/Grading.h"
#include "photos/Pictures.h"
#include "support/TempFolder.h"

namespace kv::mission {
namespace {

/// Corners of grey values 40, 90, 140, 190: top left, top right, bottom left, bottom right.
cv::Mat Corners(int columns, int rows) {
  cv::Mat picture(rows, columns, CV_8UC3);
  for (int corner = 0; corner < 4; ++corner) {
    const cv::Rect area(corner % 2 * columns / 2, corner / 2 * rows / 2, columns / 2, rows / 2);
    picture(area).setTo(cv::Scalar::all(40 + 50 * corner));
  }
  return picture;
}

/// Which corner's value a place has, counted as above.
int CornerAt(const cv::Mat& picture, double right, double down) {
  const auto value =
      picture.at<cv::Vec3b>(static_cast<int>(down * picture.rows), static_cast<int>(right * picture.cols));
  return (value[1] - 40 + 25) / 50;
}

/// EXIF data, motorola order, with an orientation alone.
std::string OrientationExif(int orientation) {
  return std::string("Exif\0\0MM\0\x2A\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0", 25) +
         static_cast<char>(orientation) + std::string("\0\0\0\0\0\0", 6);
}

TEST(Thumbnail, IsUprightAndSmall) {
  struct {
    int orientation, topLeft, topRight;  // corners of the stored picture, by the definition of EXIF's tag
  } const rows[] = {{1, 0, 1}, {2, 1, 0}, {3, 3, 2}, {4, 2, 3}, {5, 0, 2}, {6, 2, 0}, {7, 3, 1}, {8, 1, 3}, {9, 0, 1}};
  const TempFolder folder;
  for (const auto& [orientation, topLeft, topRight] : rows) {
    for (const auto& [columns, rowCount] : {std::pair(640, 480), std::pair(3000, 2000)}) {
      const auto path =
          folder.Write("a.jpg", WithExif(Encoded(".jpg", Corners(columns, rowCount)), OrientationExif(orientation)));
      const cv::Mat decoded = Decoded(ThumbnailOfFile(path), cv::IMREAD_COLOR | cv::IMREAD_IGNORE_ORIENTATION);
      ASSERT_FALSE(decoded.empty()) << orientation;
      const bool isTall = orientation >= 5 && orientation <= 8;
      EXPECT_EQ(decoded.rows > decoded.cols, isTall) << orientation;
      EXPECT_LE(std::max(decoded.rows, decoded.cols), kThumbnailSide);
      EXPECT_GT(std::max(decoded.rows, decoded.cols), kThumbnailSide / 2);
      EXPECT_EQ(CornerAt(decoded, 0.25, 0.25), topLeft) << orientation;
      EXPECT_EQ(CornerAt(decoded, 0.75, 0.25), topRight) << orientation;
    }
  }
}

/// A box of OpenCV is rounded in its own way.
TEST(Thumbnail, IsTheMeanOfSquaresWhateverTheBands) {
  for (const auto& [columns, rows] : {std::pair(1, 1), {1, 700}, {700, 1}, {255, 256}, {640, 480}, {1000, 77}}) {
    const cv::Mat three = Noise(columns, rows, CV_8UC3);
    cv::Mat four;
    cv::cvtColor(three, four, cv::COLOR_BGR2BGRA);
    BoxFilter whole(three.size(), 100), bands(three.size(), 100);
    whole.Add(three);
    for (int row = 0; row < rows; row += 3) bands.Add(four.rowRange(row, std::min(row + 3, rows)));
    EXPECT_EQ(cv::norm(whole.Result(), bands.Result(), cv::NORM_INF), 0) << columns << " x " << rows;
    const cv::Mat& small = whole.Result();
    const int factor = (std::max(columns, rows) + 99) / 100;
    const cv::Rect used(0, 0, std::min(factor, columns) * small.cols, std::min(factor, rows) * small.rows);
    cv::Mat expected;
    cv::resize(three(used), expected, small.size(), 0, 0, cv::INTER_AREA);
    EXPECT_LE(cv::norm(small, expected, cv::NORM_INF), 1) << columns << " x " << rows;
    EXPECT_LE(std::max(small.cols, small.rows), 100);
  }
}

TEST(Thumbnail, IsMadeWhileThePhotoIsGraded) {
  const TempFolder folder;
  const std::string whole = Encoded(".jpg", Corners(640, 480));
  const std::vector<std::filesystem::path> paths = {
      folder.Write("a.jpg", WithExif(whole, OrientationExif(6))), folder.Write("b.jpg", whole),
      folder.Write("c.jpg", whole.substr(0, whole.size() / 2) + "\xFF\xD9")};
  Observer nobody;
  Job job(nobody);
  SpreadThumbnails spread;
  spread.step = 2;
  const auto grades = GradeFiles(paths, {}, job, &spread);
  EXPECT_EQ(grades[0].sharpness, grades[1].sharpness);
  EXPECT_EQ(grades[1].damage, "");
  EXPECT_NE(grades[2].damage, "");
  ASSERT_EQ(spread.jpegs.size(), 2u);
  const cv::Mat decoded = Decoded(spread.jpegs[0], cv::IMREAD_COLOR);
  EXPECT_EQ(decoded.size(), cv::Size(160, 213));
  EXPECT_EQ(CornerAt(decoded, 0.25, 0.25), 2);
  EXPECT_EQ(CornerAt(decoded, 0.75, 0.25), 0);
}

TEST(Thumbnail, IsNotMadeOfWhatIsNoPhoto) {
  const std::string photo = Encoded(".jpg", Corners(640, 480));
  std::string bomb = photo;
  const std::size_t frame = bomb.find("\xFF\xC0");
  bomb.replace(frame + 5, 4, "\xFF\xDC\xFF\xDC");  // 65500 x 65500 pixels
  const TempFolder folder;
  struct {
    const char* description;
    std::string content;
    bool isThere;
  } const rows[] = {{"whole", photo, true},
                    {"cut off", photo.substr(0, photo.size() / 2), false},
                    {"a bomb", bomb, false},
                    {"no JPEG", Encoded(".png", Corners(64, 48)), false},
                    {"empty", "", false},
                    {"one pixel", Encoded(".jpg", Corners(2, 2)), true},
                    {"a thin line", Encoded(".jpg", Corners(6000, 2)), true}};
  for (const auto& [description, content, isThere] : rows)
    EXPECT_EQ(!ThumbnailOfFile(folder.Write("a.jpg", content)).empty(), isThere) << description;
  EXPECT_EQ(ThumbnailOfFile(folder.Wide("missing.jpg")), "");
}

}  // namespace
}  // namespace kv::mission
