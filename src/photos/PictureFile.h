#pragma once

#include <opencv2/core/mat.hpp>
#include <string_view>

/// Picture files under wide paths, any name on any system.
namespace kv {

/// @param flags  as for cv::imread
/// @throws       std::exception when the file cannot be read, is no picture, or is a JPEG that was cut off, for which
///               OpenCV would make up the missing rows
cv::Mat ReadPicture(std::wstring_view path, int flags);

/// Replaces the picture under a path in one step: the path names the old file, untouched, or the whole new one. A link
/// stays, and the file that it names is replaced; permissions stay too.
/// @param path  an existing file; its extension says the kind of picture
/// @throws      std::exception when the picture cannot be encoded so, or the file is write-protected or not written
void ReplacePicture(std::wstring_view path, const cv::Mat& picture);

}  // namespace kv
