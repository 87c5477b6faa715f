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

/// Reads "YYYY-MM-DD hh:mm:ss" by position, without checks; a missing or non-numeric piece gives 0. Day of week and
/// milliseconds are 0.
inline SYSTEMTIME CalendarTime(std::wstring_view text) {
  const auto field = [&](std::size_t begin, std::size_t count) {
    return static_cast<std::uint16_t>(LeadingInteger(Piece(text, begin, count)));
  };
  return {field(0, 4), field(5, 2), 0, field(8, 2), field(11, 2), field(14, 2), field(17, 2), 0};
}

}  // namespace kv
