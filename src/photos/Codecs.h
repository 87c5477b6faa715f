#pragma once

#include <opencv2/core/mat.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace kv {

/// OpenCV's functions for files of pictures.
struct PictureCodecs {
  cv::Mat (*read)(const std::string& path, int flags);
  cv::Mat (*decode)(const cv::Mat& bytes, int flags);
  bool (*encode)(const std::string& extension, const cv::Mat& picture, std::vector<unsigned char>& bytes,
                 const std::vector<int>& parameters);
};

/// The installation is broken; no picture is to blame.
struct CodecsMissing : std::runtime_error {
  using runtime_error::runtime_error;
};

/// They need thirty libraries of other formats, which take longer to load than a short command runs. So on Linux they are
/// a library of their own beside this one, kvutilities/libKVCodecs.so, loaded when first asked for. Ordinary JPEGs are
/// graded and geotagged without; thumbnails for the report, turned photos and other formats need it.
/// @throws CodecsMissing when it cannot be loaded
const PictureCodecs& Codecs();

}  // namespace kv

/// What the library of the codecs exports.
extern "C" const kv::PictureCodecs* KVPictureCodecs();
