#include "photos/BoxFilter.h"

#include <algorithm>
#include <opencv2/core.hpp>
#include <opencv2/core/hal/intrin.hpp>

namespace kv::mission {
namespace {

constexpr int kMostRows = 0xFFFF / 0xFF;  // whose sum fits 16 bits

// Several rows at once, so that the sums are loaded and stored once for all.
void AddRows(const cv::Mat& rows, std::vector<std::uint16_t>& sums) {
  const std::size_t size = sums.size();
  std::size_t at = 0;
  for (; at + 32 <= size; at += 32) {
    std::uint16_t* const to = sums.data() + at;
    cv::v_uint16x8 sum[] = {cv::v_load(to), cv::v_load(to + 8), cv::v_load(to + 16), cv::v_load(to + 24)};
    for (int row = 0; row < rows.rows; ++row) {
      const std::uint8_t* const from = rows.ptr<std::uint8_t>(row) + at;
      for (int i = 0; i < 4; ++i) sum[i] += cv::v_load_expand(from + 8 * i);
    }
    for (int i = 0; i < 4; ++i) cv::v_store(to + 8 * i, sum[i]);
  }
  for (; at < size; ++at) {
    for (int row = 0; row < rows.rows; ++row)
      sums[at] = static_cast<std::uint16_t>(sums[at] + rows.ptr<std::uint8_t>(row)[at]);
  }
}

}  // namespace

BoxFilter::BoxFilter(cv::Size size, int side) {
  const int factor = (std::max(size.width, size.height) + side - 1) / side;
  across_ = std::min(factor, size.width), down_ = std::min(factor, size.height);
  small_.create(size.height / down_, size.width / across_, CV_8UC3);
  totals_.resize(3 * static_cast<std::size_t>(small_.cols));
}

void BoxFilter::Add(const cv::Mat& rows) {
  channels_ = rows.channels();
  sums_.resize(static_cast<std::size_t>(small_.cols) * static_cast<std::size_t>(across_ * channels_));
  for (int begin = 0; begin < rows.rows && row_ < small_.rows * down_;) {
    const int ofSquare = row_ % down_, ofSums = ofSquare % kMostRows;
    const int count = std::min({rows.rows - begin, down_ - ofSquare, kMostRows - ofSums});
    AddRows(rows.rowRange(begin, begin + count), sums_);
    begin += count, row_ += count;
    if (ofSquare + count == down_ || ofSums + count == kMostRows) channels_ == 3 ? AddColumns<3>() : AddColumns<4>();
    if (ofSquare + count == down_) FinishRow();
  }
}

template <std::size_t kChannels>
void BoxFilter::AddColumns() {
  const std::uint16_t* sums = sums_.data();
  for (std::uint64_t* total = totals_.data(); total != totals_.data() + totals_.size(); total += 3) {
    std::uint32_t square[kChannels] = {};
    if constexpr (kChannels == 4) {
      cv::v_uint32x4 four = cv::v_setzero_u32();
      for (int i = 0; i < across_; ++i, sums += kChannels) four += cv::v_load_expand(sums);
      cv::v_store(square, four);
    } else {
      for (int i = 0; i < across_; ++i) {
        for (std::uint32_t& channel : square) channel += *sums++;
      }
    }
    for (int channel = 0; channel < 3; ++channel) total[channel] += square[channel];
  }
  std::fill(sums_.begin(), sums_.end(), 0);
}

void BoxFilter::FinishRow() {
  const std::int64_t pixels = std::int64_t{across_} * down_;
  const double perPixel = 1.0 / static_cast<double>(pixels);
  std::uint8_t* small = small_.ptr<std::uint8_t>(row_ / down_ - 1);
  // With half a unit added, a mean lies too far from a whole number for the product's rounding to reach it.
  const double rounding = static_cast<double>(pixels / 2) + 0.5;
  for (const std::uint64_t total : totals_)
    *small++ = static_cast<std::uint8_t>((static_cast<double>(total) + rounding) * perPixel);
  std::fill(totals_.begin(), totals_.end(), 0);
}

}  // namespace kv::mission
