#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <opencv2/core/mat.hpp>
#include <string>
#include <string_view>

namespace kv {

/// Decodes a JPEG row by row, so that no picture is whole in memory unless it is stored in several scans. Gives the
/// pixels that OpenCV gives, or ends: at an error, at the first warning, and at kinds of JPEG that OpenCV decodes in its
/// own way (four channels).
class JpegRows {
 public:
  /// @param file  at its beginning; must outlive this
  explicit JpegRows(std::FILE* file);
  /// @param file  fewer than 2^32 bytes; must outlive this
  explicit JpegRows(std::string_view file);
  ~JpegRows();

  /// @return false when this is not a JPEG that can be decoded
  bool ReadHeader();
  // After `ReadHeader`:
  cv::Size Size() const;
  int Components() const;
  bool IsArithmetic() const;  ///< its decoder does not warn of missing data
  std::size_t BytesOfSeveralScans()
      const;  ///< memory for a picture that comes in several scans; 0 for one in a single scan

  /// Begins to decode at full size into blue, green, red and an unused channel. @return false when the rows would not be OpenCV's
  bool Begin();
  /// @param rows  to be filled: four channels, as wide as the picture, not more rows than are left
  bool Read(cv::Mat& rows);
  /// @return whether the file ends as it must
  bool End();

  /// Instead of `Begin`: decodes at an eighth of the size, to nowhere.
  void Check();

  /// The error, or the warning about the picture, that ended decoding; empty before that.
  std::string Complaint() const;

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

/// Looks whether a JPEG file is whole. A turned copy would hide the damage: decoders fill gaps with guesses.
/// @param file  fewer than 2^32 bytes
/// @return      the decoder's first complaint about the picture; empty when the picture is whole
std::string JpegDamage(std::string_view file);

}  // namespace kv
