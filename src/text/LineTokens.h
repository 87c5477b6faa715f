#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace kv::mission {

/// A text but for the blanks at both ends, which a line end in the wrong place is, too.
inline std::string_view WithoutBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// The first tokens of a line; runs of separators separate as one does. The line is searched eight bytes at a time.
class Tokens {
 public:
  /// @param separators  ASCII characters but NUL
  Tokens(std::string_view line, std::string_view separators) {
    const char* begin = line.data();
    for (std::size_t at = 0; at < line.size(); at += kBytes) {
      std::uint64_t found = Separators(EightBytes(line.substr(at)), separators);
      for (; found != 0; found &= found - 1) {
        const char* end = line.data() + at + std::countr_zero(found) / 8;
        if (end != begin && !Take({begin, end})) return;
        begin = end + 1;
      }
    }
    const char* end = line.data() + line.size();
    if (end > begin) Take({begin, end});
  }
  std::size_t size() const { return count_; }
  std::string_view operator[](std::size_t index) const { return tokens_[index]; }
  std::span<const std::string_view> From(std::size_t index) const { return {&tokens_[index], count_ - index}; }

 private:
  static constexpr std::size_t kMost = 15, kBytes = sizeof(std::uint64_t);

  /// @return false when there is no room for another one
  bool Take(std::string_view token) {
    tokens_[count_] = token;
    return ++count_ < kMost;
  }

  /// The first one lowest; NUL behind the text's end.
  static std::uint64_t EightBytes(std::string_view text) {
    static_assert(std::endian::native == std::endian::little);
    std::uint64_t bytes = 0;
    text.size() >= kBytes ? std::memcpy(&bytes, text.data(), kBytes) : std::memcpy(&bytes, text.data(), text.size());
    return bytes;
  }

  /// The highest bit of each byte that is a separator: such a byte's difference is zero, and adding 127 to the lower
  /// bits of any other one carries into its highest bit, but never further.
  static std::uint64_t Separators(std::uint64_t bytes, std::string_view separators) {
    constexpr std::uint64_t kOnes = 0x0101'0101'0101'0101, kLowBits = 0x7F * kOnes;
    std::uint64_t others = ~std::uint64_t{0};
    for (const char separator : separators) {
      const std::uint64_t difference = bytes ^ kOnes * static_cast<unsigned char>(separator);
      others &= ((difference & kLowBits) + kLowBits) | difference;
    }
    return ~others & ~kLowBits;
  }

  std::array<std::string_view, kMost> tokens_;
  std::size_t count_ = 0;
};

}  // namespace kv::mission
