#include <algorithm>
#include <climits>
#include <cmath>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "KVUtilities.h"
#include "base/ErrorText.h"
#include "georef/EventTypes.h"
#include "photos/PictureFile.h"
#include "platform/FileNames.h"

namespace {

// Two blanks after the colon, deliberately. The path follows.
constexpr const wchar_t* kNoFile = L"Rotate Image Error:  File does not exist:\n\n";
constexpr const wchar_t* kUnexpectedError = L"Unexpected error rotating image for file: \n\n";
// The sentence of sharpness grading, on purpose: callers expect one sentence for both batches.
constexpr const wchar_t* kUnexpectedBatchError = L"Unexpected error computing Photo Sharpness Factors.";

cv::Mat Rotated(const cv::Mat& picture, double angleDegrees) {
  if (!std::isfinite(angleDegrees)) throw std::invalid_argument("angle");
  // Removes whole turns, which would cost precision: the turned picture's size is computed in single precision.
  angleDegrees = std::fmod(angleDegrees, 360);
  const cv::Point2f centre(static_cast<float>(picture.cols - 1) / 2, static_cast<float>(picture.rows - 1) / 2);
  cv::Mat turnedFromPicture = cv::getRotationMatrix2D(centre, angleDegrees, 1.0);
  const cv::Size2f bounds =
      cv::RotatedRect(cv::Point2f(), picture.size(), static_cast<float>(angleDegrees)).boundingRect2f().size();
  // OpenCV would refuse larger pictures as well, but later.
  if (std::max({bounds.width, bounds.height, static_cast<float>(picture.cols), static_cast<float>(picture.rows)}) >=
      SHRT_MAX)
    throw std::length_error("picture");
  turnedFromPicture.at<double>(0, 2) += bounds.width / 2.0 - picture.cols / 2.0;
  turnedFromPicture.at<double>(1, 2) += bounds.height / 2.0 - picture.rows / 2.0;
  cv::Mat turned;
  cv::warpAffine(picture, turned, turnedFromPicture, bounds, cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar());
  return turned;
}

}  // namespace

bool KVUtilities::RotateImage(std::wstring path, double angleDegrees, std::wstring& error) try {
  error.clear();
  if (!kv::FileSize(path)) {
    error = kNoFile + path;
    return false;
  }
  kv::ReplacePicture(path, Rotated(kv::ReadPicture(kv::NativePath(path), cv::IMREAD_UNCHANGED), angleDegrees));
  return true;
} catch (...) {
  error = kUnexpectedError + path;
  return false;
}

bool KVUtilities::RotateCameraImages(std::vector<tagKVSystemEvent>& events, int cameraNumber, double angleDegrees,
                                     std::wstring& error) try {
  error.clear();
  cv::setUseOptimized(true);
  for (const tagKVSystemEvent& event : events) {
    // Compares the exact number, on purpose: elsewhere every number but 1 is camera 2, but a third camera's photos must
    // not turn with the second's.
    if (event.Type != kv::kCameraEvent || event.CameraID != cameraNumber) continue;
    // A photo that fails stays unchanged, and the next one empties `error`, on purpose.
    RotateImage(event.PhotoPath.GetString(), angleDegrees, error);
  }
  return true;
} catch (...) {
  kv::Report(error, kUnexpectedBatchError);
  return false;
}
