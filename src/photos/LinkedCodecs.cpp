#include <opencv2/imgcodecs.hpp>

#include "photos/Codecs.h"

#if defined(__GNUC__) && !defined(_WIN32)
__attribute__((visibility("default")))
#endif
const kv::PictureCodecs*
KVPictureCodecs() {
  static constexpr kv::PictureCodecs kCodecs{
      [](const std::string& path, int flags) { return cv::imread(path, flags); },
      [](const cv::Mat& bytes, int flags) { return cv::imdecode(bytes, flags); },
      [](const std::string& extension, const cv::Mat& picture, std::vector<unsigned char>& bytes,
         const std::vector<int>& parameters) { return cv::imencode(extension, picture, bytes, parameters); }};
  return &kCodecs;
}

const kv::PictureCodecs& kv::Codecs() { return *KVPictureCodecs(); }
