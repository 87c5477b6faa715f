#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/CodePage.h"

namespace kv {

/// Takes the mark that editors put before UTF-8 text off the first line of a file. Use one per file.
class ByteOrderMark {
 public:
  std::string_view Skip(std::string_view line) {
    const bool isMarked = std::exchange(isFirst_, false) && line.starts_with(kMark);
    return isMarked ? line.substr(kMark.size()) : line;
  }

  /// The same on a line that was widened from the code page.
  std::wstring_view Skip(std::wstring_view line) {
    if (!std::exchange(isFirst_, false)) return line;
    std::wstring mark;
    WidenAnsi(kMark, mark);
    return line.starts_with(mark) ? line.substr(mark.size()) : line;
  }

 private:
  static constexpr std::string_view kMark = "\xEF\xBB\xBF";

  bool isFirst_ = true;
};

}  // namespace kv
