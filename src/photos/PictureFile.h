#pragma once

#include <functional>
#include <opencv2/core/mat.hpp>
#include <string>
#include <string_view>

/// Picture files under wide paths, with any name on any system.
namespace kv {

/// @param flags  as for cv::imread
/// @throws       std::exception when the file cannot be read, is not a picture, or is a truncated JPEG, whose missing
///               rows OpenCV would invent
cv::Mat ReadPicture(std::wstring_view path, int flags);

/// Is given a picture from top to bottom.
struct RowTaker {
  std::function<void(cv::Size)> begin;  ///< again when the picture has to be decoded in another way
  std::function<void(const cv::Mat&)>
      take;  ///< the next rows: channels of 8 bits, blue, green, red, and perhaps an unused one
};

/// The rows that are decoded together, so that they fit a core's cache.
/// @param columns  at least 1
int BandRows(int columns);

/// Decodes a picture as it is stored: its orientation tag is ignored. Of a JPEG only a band of rows is in memory at a
/// time, unless it is damaged or of an unusual kind.
/// @return what the decoder said of a damaged JPEG; empty for others
/// @throws as `ReadPicture`
std::string ReadPictureRows(std::wstring_view path, const RowTaker& taker);

/// Replaces a picture file in one step: the path names either the old file, untouched, or the complete new one. For a
/// link the target is replaced; permissions stay.
/// @param path  an existing file; its extension selects the format
/// @throws      std::exception when the picture cannot be encoded, or the file is write-protected or cannot be written
void ReplacePicture(std::wstring_view path, const cv::Mat& picture);

}  // namespace kv
