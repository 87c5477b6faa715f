#pragma once

#include <opencv2/core/mat.hpp>
#include <string_view>

/// Picture files under wide paths, with any name on any system.
namespace kv {

/// @param flags  as for cv::imread
/// @throws       std::exception when the file cannot be read, is not a picture, or is a truncated JPEG, whose missing
///               rows OpenCV would invent
cv::Mat ReadPicture(std::wstring_view path, int flags);

/// Replaces a picture file in one step: the path names either the old file, untouched, or the complete new one. For a
/// link the target is replaced; permissions stay.
/// @param path  an existing file; its extension selects the format
/// @throws      std::exception when the picture cannot be encoded, or the file is write-protected or cannot be written
void ReplacePicture(std::wstring_view path, const cv::Mat& picture);

}  // namespace kv
