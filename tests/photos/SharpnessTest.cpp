#include "photos/Sharpness.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <random>

#include "KVUtilities.h"
#include "baseline/Sharpness.h"
#include "photos/Pictures.h"
#include "support/TempFolder.h"
#include "support/TestSize.h"

namespace {

using namespace std::string_literals;

const std::wstring kNoFile = L"Computing Sharpness Error:  File does not exist:\n\n";
const std::wstring kUnreadable = L"Unexpected error computing sharpness factor for file: \n\n";

cv::Mat Checkers(int columns, int rows) {
  cv::Mat picture(rows, columns, CV_8UC3);
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < columns; ++x) picture.at<cv::Vec3b>(y, x) = cv::Vec3b::all((x + y) % 2 ? 255 : 0);
  }
  return picture;
}

/// @param least, most  rows of a band
double SharpnessInBands(const cv::Mat& picture, int least, int most, const kv::PixelLoops& loops = kv::WideLoops()) {
  static std::mt19937 random(6);
  kv::SharpnessMeter meter(picture.size(), loops);
  for (int row = 0, end = 0; row < picture.rows; row = end) {
    end = std::min(row + least + static_cast<int>(random() % static_cast<unsigned>(most - least + 1)), picture.rows);
    meter.Add(picture.rowRange(row, end));
  }
  return meter.Sharpness();
}

TEST(Sharpness, BandsEqualTheWholePictureToTheLastBit) {
  for (const int columns : {1, 2, 3, 4, 7, 257, 258, 259, 514, 1000}) {
    for (const int rows : {1, 2, 3, 7, 40}) {
      for (const cv::Mat& picture : {Noise(columns, rows, CV_8UC3), Checkers(columns, rows)}) {
        for (const auto& [least, most] : {std::pair(1, 1), {1, 3}, {2, 20}, {40, 40}})
          ASSERT_EQ(SharpnessInBands(picture, least, most), baseline::SharpnessOf(picture)) << columns << " x " << rows;
      }
    }
  }
  std::mt19937 random(5);
  for (int round = TestSize(30, 3'000); round > 0; --round) {
    const cv::Mat picture = Noise(1 + static_cast<int>(random() % 3000), 1 + static_cast<int>(random() % 500), CV_8UC3);
    ASSERT_EQ(SharpnessInBands(picture, 1, 30), baseline::SharpnessOf(picture))
        << picture.cols << " x " << picture.rows;
  }
  const cv::Mat large = Noise(TestSize(4000, 12'000), TestSize(3000, 8'500), CV_8UC3);
  EXPECT_EQ(SharpnessInBands(large, 8, 8), baseline::SharpnessOf(large));
  EXPECT_EQ(SharpnessInBands(large.colRange(5, 600), 8, 8), baseline::SharpnessOf(large.colRange(5, 600)));
  EXPECT_EQ(SharpnessInBands(cv::Mat(300, 400, CV_8UC3, cv::Scalar::all(90)), 9, 9), 0.0);
}

// Rows of JPEGs come in four bytes a pixel, the last of which means nothing.
TEST(Sharpness, IsTheSameOnEveryProcessor) {
  std::mt19937 random(7);
  for (int round = TestSize(100, 3'000); round > 0; --round) {
    const cv::Mat picture = Noise(1 + static_cast<int>(random() % 700), 1 + static_cast<int>(random() % 30), CV_8UC4);
    cv::Mat colours;
    cv::cvtColor(picture, colours, cv::COLOR_BGRA2BGR);
    for (const auto* loops : {&kv::PlainLoops(), &kv::WideLoops()})
      ASSERT_EQ(SharpnessInBands(picture, 1, 9, *loops), baseline::SharpnessOf(colours)) << picture.size();
  }
  const cv::Mat largest = Checkers(30'000, 4);  // no sum may overflow
  for (const auto* loops : {&kv::PlainLoops(), &kv::WideLoops()})
    EXPECT_EQ(SharpnessInBands(largest, 1, 9, *loops), baseline::SharpnessOf(largest));
}

TEST(Sharpness, PicturesOfEveryKindUnderAnyName) {
  const std::string jpeg = Encoded(".jpg", Noise(70, 50, CV_8UC3));
  const std::string onItsSide =
      WithExif(jpeg, "Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0"s);
  ASSERT_EQ(Decoded(onItsSide, cv::IMREAD_COLOR).size(), cv::Size(50, 70));  // OpenCV sees the orientation
  const TempFolder folder;
  struct {
    const char* name;
    std::string bytes;
  } const rows[] = {{"plain.jpg", jpeg},
                    {"\xCE\xA9\xE4\xB8\xAD \xC3\xA9.JPG", jpeg},
                    {"side.jpg", onItsSide},
                    {"followed.jpg", jpeg + "data of the camera maker"},
                    {"gray.jpg", Encoded(".jpg", Noise(33, 44, CV_8UC1))},
                    {"alpha.png", Encoded(".png", Noise(33, 44, CV_8UC4))},
                    {"deep.png", Encoded(".png", Noise(33, 44, CV_16UC3))},
                    {"deep.tif", Encoded(".tif", Noise(33, 44, CV_16UC1))},
                    {"another kind.jpg", Encoded(".bmp", Noise(33, 44, CV_8UC3))}};
  for (const auto& [name, bytes] : rows) {
    std::wstring error = L"left over";
    EXPECT_EQ(KVUtilities::ComputeImageSharpnessFactor(folder.Write(name, bytes), error),
              baseline::SharpnessOf(Decoded(bytes, cv::IMREAD_COLOR)))
        << name;
    EXPECT_EQ(error, L"") << name;
  }
}

TEST(Sharpness, WhatIsNoPictureGivesZeroAndASentence) {
  const std::string jpeg = Encoded(".jpg", Noise(300, 200, CV_8UC3));
  const std::string preview = WithExif(jpeg, "Exif\0\0"s + Encoded(".jpg", Noise(30, 20, CV_8UC3)));
  const std::string png = Encoded(".png", Noise(30, 20, CV_8UC3));
  const TempFolder folder;
  const std::wstring paths[] = {folder.Write("empty.jpg", ""),
                                folder.Write("text.jpg", "no picture"),
                                folder.Write("start.jpg", jpeg.substr(0, 3)),
                                folder.Write("header.jpg", jpeg.substr(0, 200)),
                                folder.Write("half.jpg", jpeg.substr(0, jpeg.size() / 2)),
                                folder.Write("end.jpg", jpeg.substr(0, jpeg.size() - 2)),
                                folder.Write("preview.jpg", preview.substr(0, preview.size() - 500)),
                                folder.Write("half.png", png.substr(0, png.size() / 2))};
  for (const std::wstring& path : paths) {
    std::wstring error;
    EXPECT_EQ(KVUtilities::ComputeImageSharpnessFactor(path, error), 0.0);
    EXPECT_EQ(error, kUnreadable + path);
  }
  for (const std::wstring& path : {folder.Wide("none.jpg"), folder.Wide(), std::wstring()}) {
    std::wstring error;
    EXPECT_EQ(KVUtilities::ComputeImageSharpnessFactor(path, error), 0.0);
    EXPECT_EQ(error, kNoFile + path);
  }
}

TEST(Sharpness, ABatchGradesCameraEventsAndKeepsTheLastPicturesSentence) {
  const TempFolder folder;
  const std::string bytes = Encoded(".png", Noise(33, 44, CV_8UC3));
  const double factor = baseline::SharpnessOf(Decoded(bytes, cv::IMREAD_COLOR));
  const std::wstring good = folder.Write("good.png", bytes), bad = folder.Write("bad.jpg", "no picture");
  const std::wstring missing = folder.Wide("missing.jpg");
  std::vector<tagKVSystemEvent> events = {PhotoEvent(2, 1, missing), PhotoEvent(2, 1, bad), PhotoEvent(1, 1, missing),
                                          PhotoEvent(2, 2, good)};
  std::wstring error = L"left over";
  EXPECT_TRUE(KVUtilities::PopulatePhotoSharpnessFactors(events, error));
  EXPECT_EQ(error, L"");  // the misses before leave no trace, on purpose
  const double expected[] = {0, 0, -1, factor, 0};
  events.push_back(PhotoEvent(2, 1, missing));
  EXPECT_TRUE(KVUtilities::PopulatePhotoSharpnessFactors(events, error));
  EXPECT_EQ(error, kNoFile + missing);
  for (std::size_t i = 0; i < events.size(); ++i) EXPECT_EQ(events[i].Sharpness, expected[i]) << i;
}

}  // namespace
