#pragma once

#include <filesystem>
#include <opencv2/core/mat.hpp>
#include <string>

namespace kv::mission {

/// The longest side of a thumbnail, pixels.
inline constexpr int kThumbnailSide = 256;

/// How a photo is to be turned to be upright, as its EXIF data say: 1 to 8; 1 when they do not say.
int OrientationOf(const std::filesystem::path& photo);

/// A JPEG of a small picture, upright.
/// @param small        three channels of 8 bits
/// @param orientation  of the picture, 1 to 8
/// @throws std::bad_alloc, as nothing else keeps a picture from being encoded
std::string ThumbnailOf(cv::Mat small, int orientation);

/// Decodes a photo at a fraction of its size, for a thumbnail.
/// @return empty for a photo that is not a JPEG, is damaged, or has more pixels than any camera
/// @throws std::bad_alloc
std::string ThumbnailOfFile(const std::filesystem::path& photo);

}  // namespace kv::mission
