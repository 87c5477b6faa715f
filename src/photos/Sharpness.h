#pragma once

#include <opencv2/core/mat.hpp>

namespace kv {

/// Rows of a picture that are graded together, so that their grey values stay in the cache.
/// @param columns  at least 1
int SharpnessBandRows(int columns);

/// Variance of the Laplacian of a picture's grey values: equal to the last bit to OpenCV's colour conversion 7,
/// Laplacian (64-bit float, aperture 1, border reflected about the edge pixel) and mean and deviation of the whole
/// picture. Turned and mirrored pictures have the same sharpness.
/// @param picture  three channels of 8 bits, not empty
double SharpnessOf(const cv::Mat& picture);

}  // namespace kv
