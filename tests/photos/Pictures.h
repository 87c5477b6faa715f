#pragma once

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "KVRecords.h"

/// Pictures for the tests of this folder.
inline cv::Mat Noise(int columns, int rows, int type) {
  cv::Mat picture(rows, columns, type);
  cv::randu(picture, 0, CV_MAT_DEPTH(type) == CV_16U ? 65536 : 256);
  return picture;
}

inline std::string Encoded(const char* extension, const cv::Mat& picture) {
  std::vector<unsigned char> bytes;
  cv::imencode(extension, picture, bytes);
  return {bytes.begin(), bytes.end()};
}

inline cv::Mat Decoded(const std::string& bytes, int flags) {
  return cv::imdecode(std::vector<unsigned char>(bytes.begin(), bytes.end()), flags);
}

/// A JPEG with one more segment of the kind that holds EXIF data.
inline std::string WithExif(const std::string& jpeg, const std::string& exif) {
  const std::size_t length = exif.size() + 2;
  return jpeg.substr(0, 2) + "\xFF\xE1" + static_cast<char>(length / 256) + static_cast<char>(length % 256) + exif +
         jpeg.substr(2);
}

inline tagKVSystemEvent PhotoEvent(int type, int camera, const std::wstring& path) {
  tagKVSystemEvent event;
  event.Type = type;
  event.CameraID = camera;
  event.PhotoPath = path.c_str();
  event.Sharpness = -1;
  return event;
}
