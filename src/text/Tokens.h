#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "text/EightBytes.h"

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
      bytes_[i] = kEachByte * static_cast<std::uint64_t>(characters[i]);
    }
  }
  constexpr bool operator()(wchar_t c) const {
    const auto code = static_cast<std::uint32_t>(c);
    return code < 64 && (bits_ >> code & 1) != 0;
  }

  /// @param eightBytes  of a text, the first byte lowest
  /// @return            the highest bit of every byte that is a delimiter
  constexpr std::uint64_t In(std::uint64_t eightBytes) const {
    std::uint64_t found = 0;
    for (const std::uint64_t delimiter : bytes_) found |= ZeroBytes(eightBytes ^ delimiter);
    return found;
  }

 private:
  std::uint64_t bits_ = 0;
  std::array<std::uint64_t, kCount> bytes_{};
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

/// Splits a line of bytes, eight at a time. `tokens` must not be empty.
template <std::size_t kCount>
std::span<std::string_view> Tokenise(std::string_view line, Delimiters<kCount> delimiters,
                                     std::span<std::string_view> tokens) {
  const char *at = line.data(), *begin = at, *const end = at + line.size();
  std::string_view *token = tokens.data(), *const last = token + tokens.size();
  const auto takeEach = [&](std::uint64_t bytes) {
    for (std::uint64_t found = delimiters.In(bytes); found != 0; found &= found - 1) {
      const char* const delimiter = at + FirstByte(found);
      if (begin != delimiter) {
        *token++ = {begin, delimiter};
        if (token == last) return false;
      }
      begin = delimiter + 1;
    }
    return true;
  };
  constexpr std::ptrdiff_t kBytes = sizeof(std::uint64_t);
  for (; end - at >= kBytes; at += kBytes) {
    if (!takeEach(LoadBytes(at))) return tokens;
  }
  // The zeros that pad the last bytes are not delimiters.
  if (at != end && !takeEach(LoadBytes(at, static_cast<std::size_t>(end - at)))) return tokens;
  if (begin < end) *token++ = {begin, end};
  return {tokens.data(), token};
}

}  // namespace kv
