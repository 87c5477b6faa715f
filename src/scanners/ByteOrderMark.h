#pragma once

#include <string_view>
#include <utility>

namespace kv {

/// Takes the mark that editors put before UTF-8 text off a file's first line, whose bytes are code-page characters by
/// then. One serves one file.
class ByteOrderMark {
 public:
  std::wstring_view Skip(std::wstring_view line) {
    constexpr std::wstring_view kMark = L"\u00EF\u00BB\u00BF";
    const bool isMarked = std::exchange(isFirst_, false) && line.starts_with(kMark);
    return isMarked ? line.substr(kMark.size()) : line;
  }

 private:
  bool isFirst_ = true;
};

}  // namespace kv
