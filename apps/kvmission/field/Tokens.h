#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace kv::mission {

/// A text but for the blanks at both ends, which a line end in the wrong place is, too.
inline std::string_view WithoutBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// The first tokens of a line; runs of separators separate as one does.
class Tokens {
 public:
  /// @param separators  characters below U+0040, as blank, tab, comma and semicolon are
  Tokens(std::string_view line, std::string_view separators) {
    std::uint64_t bits = 0;
    for (const char c : separators) bits |= std::uint64_t{1} << c;
    const auto isSeparator = [bits](char c) {
      const auto byte = static_cast<unsigned char>(c);
      return byte < 64 && (bits >> byte & 1) != 0;
    };
    for (auto at = line.begin(); count_ < tokens_.size(); ++count_) {
      const auto begin = std::find_if_not(at, line.end(), isSeparator);
      if (begin == line.end()) return;
      at = std::find_if(begin, line.end(), isSeparator);
      tokens_[count_] = {begin, at};
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
