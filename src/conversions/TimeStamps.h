#pragma once

#include <cstddef>
#include <string_view>

#include "KVPlatform.h"
#include "conversions/Numbers.h"

namespace kv {

/// The characters [begin, begin + count) as far as the text has them.
constexpr std::wstring_view Piece(std::wstring_view text, std::size_t begin, std::size_t count) {
  return begin < text.size() ? text.substr(begin, count) : std::wstring_view();
}

/// The leading digits of a two-character piece of a time stamp.
inline int TwoDigits(std::wstring_view text, std::size_t begin) { return LeadingInteger(Piece(text, begin, 2)); }

/// What the digits of "YYYY-MM-DD hh:mm:ss" say, by position and unchecked; pieces that are missing or no numbers are
/// 0. Day of week and milliseconds stay 0.
SYSTEMTIME CalendarTime(std::wstring_view text);

}  // namespace kv
