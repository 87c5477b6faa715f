#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "text/ByteMasks.h"

/// Lines split into tokens.
namespace kv {

/// Characters that separate fields, each below U+0040, such as tab, blank and comma. In an ANSI code page bytes of
/// these values are never part of another character.
template <std::size_t kCount>
class Delimiters {
 public:
  explicit constexpr Delimiters(const char (&characters)[kCount + 1]) {
    for (std::size_t i = 0; i < kCount; ++i) {
      bits_ |= std::uint64_t{1} << characters[i];
      bytes_[i] = characters[i];
    }
  }
  constexpr bool operator()(wchar_t c) const {
    const auto code = static_cast<std::uint32_t>(c);
    return code < 64 && (bits_ >> code & 1) != 0;
  }

  /// @param line  at least `begin` long
  /// @return      a bit for each of the 64 characters from `begin` on, the first one lowest; set at delimiters
  std::uint64_t In(std::string_view line, std::size_t begin) const {
    std::uint64_t found = 0;
    for (const char delimiter : bytes_) found |= BytesEqual(delimiter, line, begin);
    return found;
  }

 private:
  std::uint64_t bits_ = 0;
  std::array<char, kCount> bytes_{};
};
template <std::size_t kSize>
Delimiters(const char (&)[kSize]) -> Delimiters<kSize - 1>;

/// Splits a line. Empty fields give no token, so later tokens move forward.
/// @param tokens  filled from the start; tokens beyond its size are dropped
/// @return        the tokens found
template <std::size_t kCount>
std::span<std::wstring_view> Tokenise(std::wstring_view line, Delimiters<kCount> isDelimiter,
                                      std::span<std::wstring_view> tokens) {
  std::size_t count = 0;
  for (auto at = line.begin(); count < tokens.size();) {
    const auto begin = std::find_if_not(at, line.end(), isDelimiter);
    if (begin == line.end()) break;
    at = std::find_if(begin, line.end(), isDelimiter);
    tokens[count++] = {begin, at};
  }
  return tokens.first(count);
}

/// Splits a line of bytes. `tokens` must not be empty.
template <std::size_t kCount>
std::span<std::string_view> Tokenise(std::string_view line, Delimiters<kCount> delimiters,
                                     std::span<std::string_view> tokens) {
  const char* begin = line.data();
  std::string_view *token = tokens.data(), *const last = token + tokens.size();
  for (std::size_t at = 0; at < line.size(); at += kBytesAtOnce) {
    const char* const bytes = line.data() + at;
    for (std::uint64_t found = delimiters.In(line, at); found != 0; found &= found - 1) {
      const char* const delimiter = bytes + static_cast<unsigned>(std::countr_zero(found));
      if (begin != delimiter) {
        *token++ = {begin, delimiter};
        if (token == last) return tokens;
      }
      begin = delimiter + 1;
    }
  }
  const char* const end = line.data() + line.size();
  if (begin < end) *token++ = {begin, end};
  return {tokens.data(), token};
}

}  // namespace kv
