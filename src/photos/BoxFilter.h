#pragma once

#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <vector>

namespace kv::mission {

/// Shrinks a picture by a whole number while its rows come: each pixel of the result is the mean of a square. What is
/// left over at the right and at the bottom is cut.
class BoxFilter {
 public:
  /// @param size  of the picture, not empty
  /// @param side  the longest of the result, at least 16: the sums of a square then fit
  BoxFilter(cv::Size size, int side);

  /// @param rows  the next ones, as for `RowTaker`
  void Add(const cv::Mat& rows);

  /// After all rows.
  const cv::Mat& Result() const { return small_; }

 private:
  template <std::size_t kChannels>
  void AddColumns();
  void FinishRow();

  int channels_ = 0;           // of the rows
  int across_ = 1, down_ = 1;  // pixels of a square; fewer where the picture is thinner
  cv::Mat small_;
  std::vector<std::uint16_t> sums_;    // of each column, over rows of a square
  std::vector<std::uint64_t> totals_;  // of each square, over the rows before those
  int row_ = 0;                        // of the picture
};

}  // namespace kv::mission
