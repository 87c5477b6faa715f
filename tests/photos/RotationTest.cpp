#include <gtest/gtest.h>

#include <limits>
#include <opencv2/core.hpp>

#ifndef _WIN32
#include <sys/resource.h>

#include <csignal>
#endif

#include "KVUtilities.h"
#include "photos/Pictures.h"
#include "support/Environment.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;

const std::wstring kUnexpected = L"Unexpected error rotating image for file: \n\n";

bool Same(const cv::Mat& a, const cv::Mat& b) {
  return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0;
}

std::ptrdiff_t FilesIn(const TempFolder& folder) {
  return std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator());
}

TEST(Rotation, QuarterTurnsKeepEveryPixelOfEveryKind) {
  const TempFolder folder;
  struct {
    double degrees;
    std::optional<cv::RotateFlags> turn;
  } const rows[] = {{0, {}},
                    {90, cv::ROTATE_90_COUNTERCLOCKWISE},
                    {-90, cv::ROTATE_90_CLOCKWISE},
                    {180, cv::ROTATE_180},
                    {3690, cv::ROTATE_90_COUNTERCLOCKWISE},
                    {-36e10 - 90, cv::ROTATE_90_CLOCKWISE}};  // a thousand million turns more
  for (const int type : {CV_8UC1, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC3, CV_16UC4}) {
    for (const auto& [degrees, turn] : rows) {
      const cv::Mat picture = Noise(23, 14, type);
      cv::Mat turned = picture.clone();
      if (turn) cv::rotate(picture, turned, *turn);
      std::wstring error = L"left over";
      EXPECT_TRUE(KVUtilities::RotateImage(folder.Write("\xCE\xA9.png", Encoded(".png", picture)), degrees, error));
      EXPECT_EQ(error, L"");
      EXPECT_TRUE(Same(Decoded(folder.Read("\xCE\xA9.png"), cv::IMREAD_UNCHANGED), turned)) << type << ' ' << degrees;
    }
  }
}

TEST(Rotation, TheTurnedPictureFitsBetweenTransparentCorners) {
  const TempFolder folder;
  std::wstring error;
  const cv::Mat white(60, 100, CV_8UC4, cv::Scalar::all(255));
  ASSERT_TRUE(KVUtilities::RotateImage(folder.Write("a.png", Encoded(".png", white)), 30, error));
  const cv::Mat turned = Decoded(folder.Read("a.png"), cv::IMREAD_UNCHANGED);
  // 100 cos 30 + 60 sin 30 = 116.6 by 100 sin 30 + 60 cos 30 = 101.96
  ASSERT_EQ(turned.size(), cv::Size(117, 102));
  for (const cv::Point corner : {cv::Point(0, 0), cv::Point(116, 0), cv::Point(0, 101), cv::Point(116, 101)}) {
    EXPECT_EQ(turned.at<cv::Vec4b>(corner), cv::Vec4b::all(0));
  }
  EXPECT_EQ(turned.at<cv::Vec4b>(51, 58), cv::Vec4b::all(255));
  EXPECT_NEAR(cv::sum(turned)[3] / 255, 100 * 60, 60);  // nothing cut off
}

TEST(Rotation, WhatFailsLeavesTheFileAsItWas) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN(), kInfinity = std::numeric_limits<double>::infinity();
  const std::string jpeg = Encoded(".jpg", Noise(60, 40, CV_8UC3));
  const TempFolder folder;
  struct {
    const char* name;
    std::string bytes;
    double degrees;
  } const rows[] = {{"a.jpg", jpeg, kNan},
                    {"a.jpg", jpeg, -kInfinity},
                    {"text.jpg", "no picture", 90},
                    {"cut.jpg", jpeg.substr(0, jpeg.size() / 2), 90},
                    {"no kind", jpeg, 90},
                    {"unknown.kind", jpeg, 90},
                    {"too wide.png", Encoded(".png", Noise(40'000, 2, CV_8UC1)), 90}};
  for (const auto& [name, bytes, degrees] : rows) {
    const std::wstring path = folder.Write(name, bytes);
    std::wstring error;
    EXPECT_FALSE(KVUtilities::RotateImage(path, degrees, error)) << name;
    EXPECT_EQ(error, kUnexpected + path);
    EXPECT_EQ(folder.Read(name), bytes) << name;
  }
  EXPECT_EQ(FilesIn(folder), 6);
  std::wstring error;
  EXPECT_FALSE(KVUtilities::RotateImage(L"none.jpg", 90, error));
  EXPECT_EQ(error, L"Rotate Image Error:  File does not exist:\n\nnone.jpg");
}

TEST(Rotation, ABatchTurnsOneCamerasPhotosAndKeepsTheLastSentence) {
  const TempFolder folder;
  const std::string bytes = Encoded(".png", Noise(20, 10, CV_8UC3));
  const std::wstring missing = folder.Wide("missing.png");
  std::vector<tagKVSystemEvent> events = {PhotoEvent(2, 1, missing), PhotoEvent(2, 1, folder.Write("1.png", bytes)),
                                          PhotoEvent(2, 2, folder.Write("2.png", bytes)),
                                          PhotoEvent(2, 3, folder.Write("3.png", bytes)),
                                          PhotoEvent(1, 1, folder.Write("heartbeat.png", bytes))};
  std::wstring error = L"left over";
  EXPECT_TRUE(KVUtilities::RotateCameraImages(events, 1, 90, error));
  EXPECT_EQ(error, L"");
  EXPECT_EQ(Decoded(folder.Read("1.png"), cv::IMREAD_UNCHANGED).size(), cv::Size(10, 20));
  EXPECT_EQ(folder.Read("2.png"), bytes);
  EXPECT_EQ(folder.Read("heartbeat.png"), bytes);
  events.push_back(PhotoEvent(2, 2, missing));
  EXPECT_TRUE(KVUtilities::RotateCameraImages(events, 2, 180, error));
  EXPECT_EQ(error, L"Rotate Image Error:  File does not exist:\n\n" + missing);
  EXPECT_EQ(folder.Read("3.png"), bytes);  // a third camera is not the second one here
}

#ifndef _WIN32
TEST(Rotation, AFullDiskLeavesTheFileAsItWas) {
  rlimit old{};
  getrlimit(RLIMIT_FSIZE, &old);
  const rlimit small{4096, old.rlim_max};
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  for (const std::string extension : {".png", ".ras"}) {  // the second kind is encoded by way of a temporary file
    const TempFolder folder;
    const ScopedVariable temporary("OPENCV_TEMP_PATH", folder.Path().c_str());
    const std::string bytes = Encoded(extension.c_str(), Noise(200, 100, CV_8UC3));
    const std::wstring path = folder.Write("a" + extension, bytes);
    setrlimit(RLIMIT_FSIZE, &small);
    std::wstring error;
    const bool rotated = KVUtilities::RotateImage(path, 90, error);
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_FALSE(rotated) << extension;
    EXPECT_EQ(error, kUnexpected + path);
    EXPECT_EQ(folder.Read("a" + extension), bytes) << extension;
    EXPECT_EQ(FilesIn(folder), 1) << extension;
  }
  std::signal(SIGXFSZ, oldHandler);
}

TEST(Rotation, LinkAndPermissionsStay) {
  const TempFolder folder;
  folder.Write("a.png", Encoded(".png", Noise(20, 10, CV_8UC3)));
  fs::permissions(folder.Path() / "a.png", fs::perms(0640));
  fs::create_symlink("a.png", folder.Path() / "link.png");
  std::wstring error;
  EXPECT_TRUE(KVUtilities::RotateImage(folder.Wide() + L"\\link.png", 90, error));
  EXPECT_TRUE(fs::is_symlink(folder.Path() / "link.png"));
  EXPECT_EQ(fs::status(folder.Path() / "a.png").permissions(), fs::perms(0640));
  EXPECT_EQ(Decoded(folder.Read("a.png"), cv::IMREAD_UNCHANGED).size(), cv::Size(10, 20));
}
#endif

}  // namespace
