#include "photos/Sharpness.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <opencv2/core.hpp>
#include <opencv2/core/hal/intrin.hpp>
#include <optional>

namespace {

// The Laplacian of 8-bit values lies in -1020..1020, so the squares of this many pixels fit 32 bits.
constexpr int kBlockPixels = 256;

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

std::int64_t Square(int laplacian) { return std::int64_t{laplacian} * laplacian; }

std::int64_t SquaresOfRow(const RowTriple& rows, int columns) {
  const int last = columns - 1;
  const int besideEdge = std::min(1, last);  // replaces the pixel beyond an edge; with one column, the pixel itself
  std::int64_t squares = Square(rows.Laplacian(0, besideEdge, besideEdge));
  int column = 1;
  for (; column + kBlockPixels <= last; column += kBlockPixels) squares += SquaresOfBlock(rows, column);
  for (; column < last; ++column) squares += Square(rows.Laplacian(column, column - 1, column + 1));
  if (last > 0) squares += Square(rows.Laplacian(last, last - besideEdge, last - besideEdge));
  return squares;
}

// In the sum of second differences along a row only the steps beyond its two ends remain.
int StepsBeyondEnds(const std::uint8_t* row, int columns) {
  const int last = columns - 1, besideEdge = std::min(1, last);
  return (row[besideEdge] - row[0]) + (row[last - besideEdge] - row[last]);
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

// OpenCV's weights for its conversion 7, in units of 2^-15: the first channel has that of red, on purpose.
constexpr short kWeights[] = {9798, 19235, 3735};
constexpr int kHalf = 1 << 14;

std::uint8_t GreyOf(const std::uint8_t* pixel) {
  return static_cast<std::uint8_t>((pixel[0] * kWeights[0] + pixel[1] * kWeights[1] + pixel[2] * kWeights[2] + kHalf) >>
                                   15);
}

// Four pixels, each in four bytes. The last byte is the fourth channel, or belongs to the next pixel.
template <int kChannels>
cv::v_uint16x8 FourPixels(const std::uint8_t* pixels) {
  if constexpr (kChannels == 4) return cv::v_reinterpret_as_u16(cv::v_load(pixels));
  const auto pixel = [pixels](int index) {
    int bytes = 0;
    std::memcpy(&bytes, pixels + kChannels * index, sizeof bytes);
    return bytes;
  };
  return cv::v_reinterpret_as_u16(cv::v_int32x4(pixel(0), pixel(1), pixel(2), pixel(3)));
}

// Products of the first and third bytes, then of the second.
template <int kChannels>
cv::v_int32x4 GreyOfFour(const std::uint8_t* pixels) {
  const auto [a, b, c] = kWeights;
  const cv::v_int16x8 outer(a, c, a, c, a, c, a, c), middle(b, 0, b, 0, b, 0, b, 0);
  const cv::v_uint16x8 pairs = FourPixels<kChannels>(pixels);
  const auto signedPairs = [](const cv::v_uint16x8& numbers) { return cv::v_reinterpret_as_s16(numbers); };
  return (cv::v_dotprod(signedPairs(pairs & cv::v_setall_u16(0xFF)), outer) +
          cv::v_dotprod(signedPairs(pairs >> 8), middle) + cv::v_setall_s32(kHalf)) >>
         15;
}

// Pictures of three channels are whole in memory, beyond the caches. The processor itself looks ahead within a page of
// memory only, and a row has several.
constexpr int kPixelsAhead = 512;

#if defined(__GNUC__)
void AskFor(const std::uint8_t* pixel) { __builtin_prefetch(pixel); }
#else
void AskFor(const std::uint8_t*) {}
#endif

// Does what OpenCV does, without what its conversion costs for each call; several rows at once would leave the cache.
template <int kChannels>
void ConvertRow(const std::uint8_t* pixels, int columns, std::uint8_t* grey) {
  int column = 0;
  for (; column + 16 < columns; column += 16) {  // another pixel follows: the last four bytes may reach into it
    if constexpr (kChannels == 3) AskFor(pixels + kChannels * std::min(column + kPixelsAhead, columns));
    const auto four = [at = pixels + kChannels * column](int index) {
      return GreyOfFour<kChannels>(at + 4 * kChannels * index);
    };
    cv::v_store(grey + column, cv::v_pack_u(cv::v_pack(four(0), four(1)), cv::v_pack(four(2), four(3))));
  }
  for (; column < columns; ++column) grey[column] = GreyOf(pixels + kChannels * column);
}

void ConvertToGrey(const cv::Mat& rows, cv::Mat& grey) {
  const auto convert = rows.channels() == 3 ? ConvertRow<3> : ConvertRow<4>;
  for (int row = 0; row < rows.rows; ++row) convert(rows.ptr(row), rows.cols, grey.ptr(row));
}

// Repeats the last steps of cv::meanStdDev in their order.
double SquareOfDeviation(std::int64_t sum, std::int64_t squares, double pixels) {
  const double scale = 1.0 / pixels;
  const double mean = static_cast<double>(sum) * scale;
  const double deviation = std::sqrt(std::max(static_cast<double>(squares) * scale - mean * mean, 0.0));
  return deviation * deviation;
}

}  // namespace

namespace kv {

SharpnessMeter::SharpnessMeter(cv::Size size) : size_(size) {}

// A row is graded when the one below is there. The two rows that bands share are kept.
void SharpnessMeter::Add(const cv::Mat& rows) {
  const int top = std::max(end_ - 2, 0), kept = end_ - top, first = std::max(end_ - 1, 0);
  const cv::Mat before = grey_;
  if (grey_.rows < kept + rows.rows) grey_.create(kept + rows.rows, size_.width, CV_8UC1);
  for (int row = 0; row < kept; ++row)
    std::copy_n(before.ptr<std::uint8_t>(top + row - top_), size_.width, grey_.ptr<std::uint8_t>(row));
  cv::Mat fresh = grey_.rowRange(kept, kept + rows.rows);
  ConvertToGrey(rows, fresh);
  top_ = top, end_ += rows.rows;
  const int end = end_ == size_.height ? end_ : end_ - 1;
  for (int row = first; row < end; ++row) AddRow(row);
}

// Integer sums are exact in any order, and exact as doubles for any picture that OpenCV decodes.
void SharpnessMeter::AddRow(int row) {
  const auto grey = [&](int at) { return grey_.ptr<std::uint8_t>(Reflected(at, size_.height) - top_); };
  const RowTriple rows{grey(row - 1), grey(row), grey(row + 1)};
  squares_ += SquaresOfRow(rows, size_.width);
  sum_ += StepsBeyondEnds(rows.row, size_.width);
  // Down the columns, the same steps remain.
  if (row == 0) sum_ += Step(rows.row, rows.above, size_.width);
  if (row == size_.height - 1) sum_ += Step(rows.row, rows.below, size_.width);
}

double SharpnessMeter::Sharpness() const {
  return SquareOfDeviation(sum_, squares_, static_cast<double>(size_.width) * size_.height);
}

GradedFile GradeFile(const std::filesystem::path& path, const RowTaker* look, std::int64_t mostWhole) {
  std::optional<SharpnessMeter> meter;
  GradedFile graded;
  const RowTaker taker{[&](cv::Size size) {
                         meter.emplace(size);
                         if (look) look->begin(size);
                       },
                       [&](const cv::Mat& rows) {
                         meter->Add(rows);
                         if (look) look->take(rows);
                       }};
  graded.damage = ReadPictureRows(path, taker, mostWhole);
  graded.sharpness = meter->Sharpness();
  return graded;
}

}  // namespace kv
