#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/CodePage.h"

namespace kv {

/// Takes the mark that editors put before UTF-8 text off a file's first line, whose bytes are characters by then. One
/// serves one file.
class ByteOrderMark {
 public:
  /// How the bytes of the file became characters.
  enum class Bytes { CodePage, OneCharacterEach };

  explicit ByteOrderMark(Bytes bytes = Bytes::CodePage) : mark_(L"\u00EF\u00BB\u00BF") {
    if (bytes == Bytes::CodePage) WidenAnsi("\xEF\xBB\xBF", mark_);
  }

  std::wstring_view Skip(std::wstring_view line) {
    const bool isMarked = std::exchange(isFirst_, false) && line.starts_with(mark_);
    return isMarked ? line.substr(mark_.size()) : line;
  }

 private:
  std::wstring mark_;
  bool isFirst_ = true;
};

}  // namespace kv
