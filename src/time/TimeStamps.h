#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "KVPlatform.h"
#include "text/Numbers.h"

namespace kv {

/// The characters [begin, begin + count) as far as the text has them.
template <class Char>
constexpr std::basic_string_view<Char> Piece(std::basic_string_view<Char> text, std::size_t begin, std::size_t count) {
  return begin < text.size() ? text.substr(begin, count) : std::basic_string_view<Char>();
}

/// The leading digits of a two-character piece of a time stamp.
template <class Char>
int TwoDigits(std::basic_string_view<Char> text, std::size_t begin) {
  const auto digit = [&](std::size_t at) { return static_cast<std::uint32_t>(text[at]) - '0'; };
  if (begin + 2 <= text.size() && digit(begin) <= 9 && digit(begin + 1) <= 9) {
    return static_cast<int>(digit(begin) * 10 + digit(begin + 1));
  }
  return LeadingInteger(Piece(text, begin, 2));
}

/// What the digits of "YYYY-MM-DD hh:mm:ss" say, by position and unchecked; pieces that are missing or no numbers are
/// 0. Day of week and milliseconds stay 0.
SYSTEMTIME CalendarTime(std::wstring_view text);

}  // namespace kv
