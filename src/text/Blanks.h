#pragma once

#include <algorithm>
#include <string_view>

namespace kv {

/// White space of any script, as the platform's C runtime sees it in every locale.
constexpr bool IsBlank(wchar_t c) {
  return (c >= 0x09 && c <= 0x0D) || c == L' ' || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

constexpr std::wstring_view WithoutLeadingBlanks(std::wstring_view text) {
  return {std::find_if_not(text.begin(), text.end(), IsBlank), text.end()};
}

/// Without the blanks at both ends.
constexpr std::wstring_view Trimmed(std::wstring_view text) {
  text = WithoutLeadingBlanks(text);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace kv
