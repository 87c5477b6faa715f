#include "photos/BoxFilter.h"

#include <algorithm>
#include <opencv2/core.hpp>

namespace kv::mission {

BoxFilter::BoxFilter(cv::Size size, int side) {
  const int factor = (std::max(size.width, size.height) + side - 1) / side;
  across_ = std::min(factor, size.width), down_ = std::min(factor, size.height);
  small_.create(size.height / down_, size.width / across_, CV_8UC3);
}

void BoxFilter::Add(const cv::Mat& rows) {
  channels_ = rows.channels();
  sums_.resize(static_cast<std::size_t>(small_.cols) * static_cast<std::size_t>(across_ * channels_));
  for (int i = 0; i < rows.rows && row_ < small_.rows * down_; ++i) {
    AddRow(rows.ptr<std::uint8_t>(i));
    if (++row_ % down_ == 0) FinishRow();
  }
}

void BoxFilter::AddRow(const std::uint8_t* row) {
  std::uint32_t* sums = sums_.data();
  for (std::size_t i = 0; i < sums_.size(); ++i) sums[i] += row[i];
}

void BoxFilter::FinishRow() {
  const std::uint64_t pixels = static_cast<std::uint64_t>(across_) * static_cast<std::uint64_t>(down_);
  std::uint8_t* small = small_.ptr<std::uint8_t>(row_ / down_ - 1);
  const std::uint32_t* sums = sums_.data();
  for (int column = 0; column < small_.cols; ++column) {
    std::uint64_t totals[3] = {};
    for (int i = 0; i < across_; ++i, sums += channels_) {
      for (int channel = 0; channel < 3; ++channel) totals[channel] += sums[channel];
    }
    for (const std::uint64_t total : totals) *small++ = static_cast<std::uint8_t>((total + pixels / 2) / pixels);
  }
  std::fill(sums_.begin(), sums_.end(), 0);
}

}  // namespace kv::mission
