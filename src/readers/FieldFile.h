#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "KVPlatform.h"
#include "platform/CodePage.h"
#include "platform/LargePages.h"
#include "platform/TextStream.h"
#include "text/EightBytes.h"

namespace kv {

/// The characters that separate fields, each below U+0040, as tab, blank and comma are. Bytes of that value are no part
/// of any other character of an ANSI code page.
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

  /// @param eightBytes  of a text, the first one lowest
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

/// Splits a line; empty fields give no token, so later tokens move forward.
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

/// The same on bytes, eight at a time; there is room for one token at least.
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
  // NUL, behind the line's end, is no delimiter.
  if (at != end && !takeEach(LoadBytes(at, static_cast<std::size_t>(end - at)))) return tokens;
  if (begin < end) *token++ = {begin, end};
  return {tokens.data(), token};
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

/// Calls `read` with the first `kMaxTokens` tokens of every line, bytes of the file.
template <std::size_t kMaxTokens, std::size_t kCount, class Read>
void ForEachLine(std::wstring_view path, Delimiters<kCount> delimiters, Read read) {
  TextStream file(path);
  std::array<std::string_view, kMaxTokens> tokens;
  for (std::string_view line; file.ReadLine(line);) read(Tokenise(line, delimiters, tokens));
}

/// Makes room for the record of a line, and, if there is none, for an eighth more than as many as there would be if all
/// that is left of the file were such lines: one piece of memory serves them all as long as lines do not become much
/// shorter. What is not needed of it is never touched. Beyond 256 MiB it is no more than sixteen times the records.
template <class Record>
void MakeRoom(std::vector<Record>& records, std::string_view line, std::uint64_t bytesLeft) {
  constexpr std::size_t kAtOnce = 256 * 1024 * 1024 / sizeof(Record);
  const std::size_t count = records.size();
  if (count < records.capacity()) return;
  const double linesLeft = static_cast<double>(bytesLeft) / static_cast<double>(line.size() + 1);
  const std::size_t most = std::max(16 * count, kAtOnce);
  const std::size_t expected = count + 1 + static_cast<std::size_t>(std::min(linesLeft, static_cast<double>(most)));
  records.reserve(std::max(expected + expected / 8, count + count / 2));
  PreferLargePages(records.data(), (expected - expected / 8) * sizeof(Record));
}

/// Reads a file in which every line of enough tokens is a record.
/// @param read  fills in the record of a line's first `kTokens` tokens, bytes of the file
/// @return      the records in file order
template <class Record, std::size_t kTokens, std::size_t kCount, class Read>
std::vector<Record> ReadRecords(std::wstring_view path, Delimiters<kCount> delimiters, Read read) {
  TextStream file(path);
  std::array<std::string_view, kTokens> tokens;
  std::vector<Record> records;
  for (std::string_view line; file.ReadLine(line);) {
    const std::span<const std::string_view> found = Tokenise(line, delimiters, tokens);
    if (found.size() < kTokens) continue;
    MakeRoom(records, line, file.BytesLeft());
    read(found, records.emplace_back());
  }
  return records;
}

/// The texts of a column: a field that repeats the one before shares its buffer.
class ColumnText {
 public:
  const CStringW& Of(std::string_view ansi) {
    if (ansi != bytes_) {
      WidenAnsi(ansi, wide_);
      text_ = CStringW(wide_.data(), static_cast<int>(wide_.size()));
      bytes_ = ansi;
    }
    return text_;
  }

 private:
  std::string bytes_;
  std::wstring wide_;
  CStringW text_;
};

/// A record's text. Where fields repeat from line to line, pass that of the record before: equal texts share one
/// buffer.
inline CStringW FieldText(std::wstring_view text, const CStringW& earlier = {}) {
  if (text == std::wstring_view(earlier.GetString(), static_cast<std::size_t>(earlier.GetLength()))) return earlier;
  return CStringW(text.data(), static_cast<int>(text.size()));
}

/// The longest line of a bounded field file, in bytes, each of which is one character whatever the code page. A longer
/// line ends the file.
inline constexpr std::size_t kLongestBoundedLine = 1023;

}  // namespace kv
