#include "photos/Sharpness.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <opencv2/core.hpp>
#include <optional>

namespace {

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

void ConvertToGrey(const cv::Mat& rows, cv::Mat& grey, const kv::PixelLoops& loops) {
  const auto convert = rows.channels() == 3 ? loops.greyOfThreeBytes : loops.greyOfFourBytes;
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

SharpnessMeter::SharpnessMeter(cv::Size size, const PixelLoops& loops) : loops_(loops), size_(size) {}

// A row is graded when the one below is there. The two rows that bands share are kept.
void SharpnessMeter::Add(const cv::Mat& rows) {
  const int top = std::max(end_ - 2, 0), kept = end_ - top, first = std::max(end_ - 1, 0);
  const cv::Mat before = grey_;
  if (grey_.rows < kept + rows.rows) grey_.create(kept + rows.rows, size_.width, CV_8UC1);
  for (int row = 0; row < kept; ++row)
    std::copy_n(before.ptr<std::uint8_t>(top + row - top_), size_.width, grey_.ptr<std::uint8_t>(row));
  cv::Mat fresh = grey_.rowRange(kept, kept + rows.rows);
  ConvertToGrey(rows, fresh, loops_);
  top_ = top, end_ += rows.rows;
  const int end = end_ == size_.height ? end_ : end_ - 1;
  for (int row = first; row < end; ++row) AddRow(row);
}

// Integer sums are exact in any order, and exact as doubles for any picture that OpenCV decodes.
void SharpnessMeter::AddRow(int row) {
  const auto grey = [&](int at) { return grey_.ptr<std::uint8_t>(Reflected(at, size_.height) - top_); };
  const RowTriple rows{grey(row - 1), grey(row), grey(row + 1)};
  squares_ += loops_.squaresOfRow(rows, size_.width);
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
