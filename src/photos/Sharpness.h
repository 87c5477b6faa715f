#pragma once

#include <cstdint>
#include <filesystem>
#include <opencv2/core/mat.hpp>
#include <string>

#include "photos/PictureFile.h"
#include "photos/PixelLoops.h"

namespace kv {

/// Grades a picture whose rows come one after another. Holds the grey values of a band.
///
/// The sharpness is the variance of the Laplacian of the grey values. It equals to the last bit OpenCV's colour conversion
/// 7, Laplacian (64-bit float, aperture 1, border reflected about the edge pixel) and standard deviation of the whole
/// picture. Rotation by right angles and mirroring do not change it.
class SharpnessMeter {
 public:
  /// @param size  of the picture, not empty
  explicit SharpnessMeter(cv::Size size, const PixelLoops& loops = WideLoops());

  /// @param rows  the next ones, as for `RowTaker`
  void Add(const cv::Mat& rows);

  /// After all rows.
  double Sharpness() const;

 private:
  void AddRow(int row);

  const PixelLoops& loops_;
  cv::Size size_;
  cv::Mat grey_;                        // of the last rows
  int top_ = 0, end_ = 0;               // of the picture's rows, those in `grey_`
  std::int64_t sum_ = 0, squares_ = 0;  // of the Laplacian
};

struct GradedFile {
  double sharpness = 0;
  std::string damage;  ///< what the decoder said of a damaged JPEG; empty for a whole picture
};

/// Decodes a photo and grades it.
/// @param look       is given the same rows; may be null
/// @param mostWhole  as for `ReadPictureRows`
/// @throws std::exception  with the reason when it cannot be decoded
GradedFile GradeFile(const std::filesystem::path& path, const RowTaker* look = nullptr,
                     std::int64_t mostWhole = kAnyPixels);

}  // namespace kv
