#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "KVPlatform.h"
#include "platform/CodePage.h"
#include "platform/LargePages.h"
#include "platform/TextStream.h"
#include "text/Tokens.h"

namespace kv {

/// Ensures room for one more record. When the vector is full, reserves once for the lines the rest of the file would
/// hold at this line's length, plus an eighth, which takes no memory until it is used. Above 256 MiB at most sixteen times
/// the records so far are expected.
/// @param source  of the lines: a `TextStream`, or another with `BytesLeft`
template <class Record, class Source>
void MakeRoom(std::vector<Record>& records, std::string_view line, const Source& source) {
  constexpr std::size_t kAtOnce = 256 * 1024 * 1024 / sizeof(Record);
  constexpr std::size_t kLineEnd = 2;  // CR LF; if it is LF alone, the eighth makes up for it
  const std::size_t count = records.size();
  if (count < records.capacity()) return;
  const double linesLeft = static_cast<double>(source.BytesLeft()) / static_cast<double>(line.size() + kLineEnd);
  const std::size_t most = std::max(16 * count, kAtOnce);
  const std::size_t expected = count + 1 + static_cast<std::size_t>(std::min(linesLeft, static_cast<double>(most)));
  ReserveInLargePages(records, expected, std::max(expected / 8, count / 2));
}

/// A record's text. Where fields repeat from line to line, pass the previous record's text: equal texts share a buffer.
inline CStringW FieldText(std::wstring_view text, const CStringW& earlier = {}) {
  if (text == std::wstring_view(earlier.GetString(), static_cast<std::size_t>(earlier.GetLength()))) return earlier;
  return CStringW(text.data(), static_cast<int>(text.size()));
}

/// The texts of a column: a field equal to the previous one shares its buffer.
class ColumnText {
 public:
  const CStringW& Of(std::string_view ansi) {
    if (ansi != bytes_) [[unlikely]]
      Take(ansi);
    return text_;
  }

 private:
  void Take(std::string_view ansi) {
    WidenAnsi(ansi, wide_);
    text_ = FieldText(wide_);
    bytes_ = ansi;
  }

  std::string bytes_;
  std::wstring wide_;
  CStringW text_;
};

/// The longest line of a bounded field file, in bytes; each byte counts as one character in every code page. A longer
/// line ends the file.
inline constexpr std::size_t kLongestBoundedLine = 1023;

}  // namespace kv
