#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <opencv2/core/mat.hpp>
#include <string>
#include <string_view>

/// Picture files with any name on any system.
namespace kv {

/// @param flags  as for cv::imread
/// @throws       std::exception when the file cannot be read, is not a picture, or is a truncated JPEG, whose missing
///               rows OpenCV would invent
cv::Mat ReadPicture(const std::filesystem::path& path, int flags);

/// Is given a picture from top to bottom.
struct RowTaker {
  std::function<void(cv::Size)> begin;  ///< again when the picture has to be decoded in another way
  std::function<void(const cv::Mat&)>
      take;  ///< the next rows: channels of 8 bits, blue, green, red, and perhaps an unused one
};

/// The rows that are decoded together, so that they fit a core's cache.
/// @param columns  at least 1
int BandRows(int columns);

constexpr std::int64_t kAnyPixels = std::numeric_limits<std::int64_t>::max();

/// Decodes a picture as it is stored: its orientation tag is ignored. Of a JPEG only a band of rows is in memory at a
/// time, unless it is damaged or of an unusual kind.
/// @param mostWhole  pixels of a JPEG that may be in memory together
/// @return what the decoder said of a damaged JPEG; empty for others
/// @throws as `ReadPicture`; when a JPEG would have to be whole in memory and is larger than `mostWhole`
std::string ReadPictureRows(const std::filesystem::path& path, const RowTaker& taker,
                            std::int64_t mostWhole = kAnyPixels);

/// Replaces a picture file in one step: the path names either the old file, untouched, or the complete new one. For a
/// link the target is replaced; permissions stay.
/// @param path  an existing file; its extension selects the format
/// @throws      std::exception when the picture cannot be encoded, or the file is write-protected or cannot be written
void ReplacePicture(std::wstring_view path, const cv::Mat& picture);

}  // namespace kv
