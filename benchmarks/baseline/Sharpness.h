#pragma once

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

/// The definition of sharpness, each step on the whole picture.
namespace baseline {

inline double SharpnessOf(const cv::Mat& picture) {
  cv::Mat grey, laplacian, mean, deviation;
  cv::cvtColor(picture, grey, cv::COLOR_RGB2GRAY);
  cv::Laplacian(grey, laplacian, CV_64F, 1, 1.0, 0.0, cv::BORDER_REFLECT_101);
  cv::meanStdDev(laplacian, mean, deviation);
  return deviation.at<double>(0) * deviation.at<double>(0);
}

}  // namespace baseline
