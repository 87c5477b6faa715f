#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace kv::mission {

/// The first tokens of a line; runs of separators separate as one does.
class Tokens {
 public:
  Tokens(std::string_view line, std::string_view separators) {
    for (std::size_t end = 0; count_ < tokens_.size(); ++count_) {
      const std::size_t begin = line.find_first_not_of(separators, end);
      if (begin == std::string_view::npos) return;
      end = std::min(line.find_first_of(separators, begin), line.size());
      tokens_[count_] = line.substr(begin, end - begin);
    }
  }
  std::size_t size() const { return count_; }
  std::string_view operator[](std::size_t index) const { return tokens_[index]; }
  std::span<const std::string_view> From(std::size_t index) const { return {&tokens_[index], count_ - index}; }

 private:
  static constexpr std::size_t kMost = 15;

  std::array<std::string_view, kMost> tokens_;
  std::size_t count_ = 0;
};

}  // namespace kv::mission
