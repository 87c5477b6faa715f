#include "photos/Sharpness.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "photos/PictureFile.h"
#include "platform/FileNames.h"

namespace {

// Two blanks after the colon, deliberately. The path follows.
constexpr const wchar_t* kNoFile = L"Computing Sharpness Error:  File does not exist:\n\n";
constexpr const wchar_t* kUnexpectedError = L"Unexpected error computing sharpness factor for file: \n\n";

// The grey values of a band, one byte each, fit a core's cache, and OpenCV converts so few in the calling thread.
constexpr int kBandPixels = 64 * 1024;
constexpr int kFewestBandRows = 8;  // a picture has at most 2^20 columns: 10 MiB with the rows above and below

// The Laplacian of 8-bit values lies in -1020..1020, so the squares of this many pixels fit 32 bits.
constexpr int kBlockPixels = 256;

// Integer sums are exact in any order, and exact as doubles for any picture that OpenCV decodes.
struct LaplacianSums {
  std::int64_t sum = 0;
  std::int64_t squares = 0;

  void AddSquare(int laplacian) { squares += std::int64_t{laplacian} * laplacian; }
};

struct RowTriple {
  const std::uint8_t* above;
  const std::uint8_t* row;
  const std::uint8_t* below;

  int Laplacian(int column, int left, int right) const {
    return above[column] + below[column] + row[left] + row[right] - 4 * row[column];
  }
};

// Takes a fixed number of pixels, none at the left or right edge, as products of 16-bit numbers, which compilers turn
// into vector code.
std::int32_t SquaresOfBlock(const RowTriple& rows, int first) {
  const std::uint8_t* above = rows.above + first;
  const std::uint8_t* left = rows.row + first - 1;
  const std::uint8_t* centre = rows.row + first;
  const std::uint8_t* right = rows.row + first + 1;
  const std::uint8_t* below = rows.below + first;
  std::int32_t squares = 0;
  for (int i = 0; i < kBlockPixels; ++i) {
    const auto laplacian = static_cast<std::int16_t>(above[i] + below[i] + left[i] + right[i] - 4 * centre[i]);
    squares += laplacian * laplacian;
  }
  return squares;
}

// Adds a row's squares. In the sum of second differences along a line only the steps beyond its two ends remain: those
// of the row are added here, those of the columns at the picture's first and last row.
void AddRow(const RowTriple& rows, int columns, LaplacianSums& sums) {
  const int last = columns - 1;
  const int besideEdge = std::min(1, last);  // replaces the pixel beyond an edge; with one column, the pixel itself
  sums.sum += (rows.row[besideEdge] - rows.row[0]) + (rows.row[last - besideEdge] - rows.row[last]);
  sums.AddSquare(rows.Laplacian(0, besideEdge, besideEdge));
  int column = 1;
  for (; column + kBlockPixels <= last; column += kBlockPixels) sums.squares += SquaresOfBlock(rows, column);
  for (; column < last; ++column) sums.AddSquare(rows.Laplacian(column, column - 1, column + 1));
  if (last > 0) sums.AddSquare(rows.Laplacian(last, last - besideEdge, last - besideEdge));
}

// Sum of the differences between two rows.
std::int64_t Step(const std::uint8_t* from, const std::uint8_t* to, int columns) {
  const auto total = [&](const std::uint8_t* row) { return std::accumulate(row, row + columns, std::int64_t{0}); };
  return total(to) - total(from);
}

// Index of row `row` in a picture of `rows` rows with reflected borders.
int Reflected(int row, int rows) {
  if (rows == 1) return 0;
  if (row < 0) return -row;
  return row < rows ? row : 2 * rows - 2 - row;
}

/// Converts a picture to grey band by band; the two rows that neighbouring bands share are converted once.
class GreyBand {
 public:
  explicit GreyBand(const cv::Mat& picture)
      : picture_(picture), grey_(kv::SharpnessBandRows(picture.cols) + 2, picture.cols, CV_8UC1) {}

  /// Loads the rows [first, end) with the row above and the row below. Bands must be consecutive.
  void MoveTo(int first, int end) {
    const int shared = first == 0 ? 0 : 2;
    if (shared > 0) {
      cv::Mat top = grey_.rowRange(0, shared);
      grey_.rowRange(first - 1 - top_, first + 1 - top_).copyTo(top);
    }
    top_ = std::max(first - 1, 0);
    const int bottom = std::min(end + 1, picture_.rows);
    if (top_ + shared == bottom) return;
    cv::Mat fresh = grey_.rowRange(shared, bottom - top_);
    cv::cvtColor(picture_.rowRange(top_ + shared, bottom), fresh, cv::COLOR_RGB2GRAY);
  }

  RowTriple Around(int row) const { return {Row(row - 1), Row(row), Row(row + 1)}; }

 private:
  const std::uint8_t* Row(int row) const { return grey_.ptr<std::uint8_t>(Reflected(row, picture_.rows) - top_); }

  const cv::Mat& picture_;
  cv::Mat grey_;
  int top_ = 0;  // the picture's row that the first row of `grey_` holds
};

// Repeats the last steps of cv::meanStdDev in their order.
double SquareOfDeviation(const LaplacianSums& sums, double pixels) {
  const double scale = 1.0 / pixels;
  const double mean = static_cast<double>(sums.sum) * scale;
  const double deviation = std::sqrt(std::max(static_cast<double>(sums.squares) * scale - mean * mean, 0.0));
  return deviation * deviation;
}

}  // namespace

int kv::SharpnessBandRows(int columns) { return std::max(kBandPixels / columns, kFewestBandRows); }

double kv::SharpnessOf(const cv::Mat& picture) {
  LaplacianSums sums;
  GreyBand band(picture);
  const int bandRows = SharpnessBandRows(picture.cols);
  for (int first = 0, end = 0; first < picture.rows; first = end) {
    end = std::min(first + bandRows, picture.rows);
    band.MoveTo(first, end);
    for (int row = first; row < end; ++row) {
      const RowTriple rows = band.Around(row);
      AddRow(rows, picture.cols, sums);
      if (row == 0) sums.sum += Step(rows.row, rows.above, picture.cols);
      if (row == picture.rows - 1) sums.sum += Step(rows.row, rows.below, picture.cols);
    }
  }
  return SquareOfDeviation(sums, static_cast<double>(picture.total()));
}

double kv::SharpnessOfFile(const std::wstring& path, std::wstring& error, const PictureViewer& look) try {
  error.clear();
  if (!FileSize(path)) {
    error = kNoFile + path;
    return 0.0;
  }
  // Ignores the orientation tag: the sharpness is equal, and no second picture is needed in memory.
  const cv::Mat picture = ReadPicture(path, cv::IMREAD_COLOR | cv::IMREAD_IGNORE_ORIENTATION);
  if (look) look(picture);
  return SharpnessOf(picture);
} catch (...) {
  error = kUnexpectedError + path;
  return 0.0;
}
