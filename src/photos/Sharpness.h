#pragma once

#include <functional>
#include <opencv2/core/mat.hpp>
#include <string>

namespace kv {

/// Number of rows graded together, so that their grey values fit the cache.
/// @param columns  at least 1
int SharpnessBandRows(int columns);

/// Variance of the Laplacian of a picture's grey values. Equals to the last bit OpenCV's colour conversion 7, Laplacian
/// (64-bit float, aperture 1, border reflected about the edge pixel) and standard deviation of the whole picture.
/// Rotation by right angles and mirroring do not change it.
/// @param picture  three channels of 8 bits, not empty
double SharpnessOf(const cv::Mat& picture);

/// Is shown a decoded picture as it is stored: its orientation tag is ignored.
using PictureViewer = std::function<void(const cv::Mat&)>;

/// Decodes a photo and grades it, as `KVUtilities::ComputeImageSharpnessFactor` promises.
/// @param error  receives the sentence of a failure; empty after success
/// @return       0 after a failure
double SharpnessOfFile(const std::wstring& path, std::wstring& error, const PictureViewer& look = {});

}  // namespace kv
