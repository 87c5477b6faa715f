#pragma once

#include <algorithm>
#include <string_view>
#include <utility>

namespace kv {

/// White space of any script, as the platform's C runtime defines it in every locale.
constexpr bool IsBlank(wchar_t c) {
  return (c >= 0x09 && c <= 0x0D) || c == L' ' || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

constexpr std::wstring_view WithoutLeadingBlanks(std::wstring_view text) {
  return {std::find_if_not(text.begin(), text.end(), IsBlank), text.end()};
}

/// Trims blanks at both ends.
constexpr std::wstring_view Trimmed(std::wstring_view text) {
  text = WithoutLeadingBlanks(text);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

/// Blanks of a line of bytes; a stray CR counts as one.
inline constexpr std::string_view kLineBlanks = " \t\r";

constexpr std::string_view WithoutTrailingBlanks(std::string_view text, std::string_view blanks = kLineBlanks) {
  // Most lines end in something else, so the first look must be cheap: `find_last_not_of` would call a function for it.
  while (!text.empty() && std::find(blanks.begin(), blanks.end(), text.back()) != blanks.end()) text.remove_suffix(1);
  return text;
}

/// Trims blanks at both ends.
constexpr std::string_view WithoutBlanks(std::string_view text, std::string_view blanks = kLineBlanks) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return WithoutTrailingBlanks(text, blanks);
}

/// Removes the mark that editors put before UTF-8 text.
constexpr std::string_view WithoutByteOrderMark(std::string_view text) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  return text.substr(text.starts_with(kMark) ? kMark.size() : 0);
}

/// Removes that mark from the first line of a file. Use one per file.
class ByteOrderMark {
 public:
  std::string_view Skip(std::string_view line) {
    return std::exchange(isFirst_, false) ? WithoutByteOrderMark(line) : line;
  }

 private:
  bool isFirst_ = true;
};

}  // namespace kv
