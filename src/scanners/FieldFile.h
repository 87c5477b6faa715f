#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "KVPlatform.h"
#include "platform/CodePage.h"
#include "platform/TextStream.h"

namespace kv {

/// The characters that separate fields; each is below U+0040, as tab, blank and comma are.
class Delimiters {
 public:
  explicit constexpr Delimiters(std::string_view characters) {
    for (const char c : characters) bits_ |= std::uint64_t{1} << c;
  }
  constexpr bool operator()(wchar_t c) const { return c >= 0 && c < 64 && (bits_ >> c & 1) != 0; }

 private:
  std::uint64_t bits_ = 0;
};

/// Splits a line; empty fields give no token, so later tokens move forward.
/// @param tokens  filled from the start; tokens beyond its size are dropped
/// @return        the tokens found
inline std::span<std::wstring_view> Tokenise(std::wstring_view line, Delimiters isDelimiter,
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

/// Reads a field file: calls `read` with every line in code-page text, which lives until the call returns. A `read`
/// that gives false ends the file.
template <class Read>
void ForEachLine(std::wstring_view path, Read read) {
  TextStream file(path);
  std::wstring line;
  for (std::string_view bytes; file.ReadLine(bytes);) {
    WidenAnsi(bytes, line);
    if constexpr (std::is_void_v<decltype(read(std::wstring_view(line)))>) {
      read(std::wstring_view(line));
    } else {
      if (!read(std::wstring_view(line))) return;
    }
  }
}

/// The same with the first `kMaxTokens` tokens of every line.
template <std::size_t kMaxTokens, class Read>
void ForEachLine(std::wstring_view path, Delimiters delimiters, Read read) {
  std::array<std::wstring_view, kMaxTokens> tokens;
  ForEachLine(path, [&](std::wstring_view line) { return read(Tokenise(line, delimiters, tokens)); });
}

/// A record's text. Where fields repeat from line to line, pass that of the record before: equal texts share one
/// buffer.
inline CStringW FieldText(std::wstring_view text, const CStringW& earlier = {}) {
  if (text == std::wstring_view(earlier.GetString(), static_cast<std::size_t>(earlier.GetLength()))) return earlier;
  return CStringW(text.data(), static_cast<int>(text.size()));
}

/// The longest line of a bounded field file, in characters.
inline constexpr std::size_t kLongestBoundedLine = 1023;

/// Reads a bounded field file, whose bytes are one character each, not the code page's: calls `read` with every line
/// and with all its tokens. A line that is too long ends the file.
template <class Read>
void ForEachBoundedLine(std::wstring_view path, Delimiters delimiters, Read read) {
  TextStream file(path);
  std::array<wchar_t, kLongestBoundedLine> line;
  std::array<std::wstring_view, (kLongestBoundedLine + 1) / 2> tokens;  // one character and a delimiter each
  for (std::string_view bytes; file.ReadLine(bytes, kLongestBoundedLine);) {
    std::transform(bytes.begin(), bytes.end(), line.begin(),
                   [](char byte) { return wchar_t{static_cast<unsigned char>(byte)}; });
    const std::wstring_view characters(line.data(), bytes.size());
    read(characters, Tokenise(characters, delimiters, tokens));
  }
}

}  // namespace kv
