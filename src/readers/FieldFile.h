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
#include "text/Tokens.h"

namespace kv {

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
