#pragma once

#include "KVPlatform.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// Values in the attribute table's form: a field fills its column's width in bytes. The bytes are those of the table
/// writer's own formatting in the C locale, in every process locale.
namespace kv {

using Field = std::span<char>;

/// Like printf's "%*.*f": right-aligned, with "nan", "inf" and "-0.00" unchanged. A number wider than the field keeps
/// its first characters; the table cannot mark the cut.
void PutDecimal(Field field, double value, int decimals);

/// Like "%*d", cut in the same way.
void PutInteger(Field field, int value);

/// Left-aligned; bytes beyond the field are dropped. Wide text is written in the ANSI code page.
void PutText(Field field, std::string_view text);
void PutText(Field field, std::wstring_view text);

/// A text of at most 48 characters, which needs no allocation.
class ShortText {
 public:
  operator std::string_view() const { return {characters_.data(), length_}; }

  void Append(char character) { characters_[length_++] = character; }

  /// @param digits  least number of digits, padded with zeros
  void Append(std::uint64_t number, std::size_t digits);

 private:
  std::array<char, 48> characters_;
  std::size_t length_ = 0;
};

/// "Y-MM-DD hh:mm:ss" of any fields, valid or not.
ShortText WholeSecondsText(const SYSTEMTIME& time);

/// "Y-MM-DD hh:mm:ss.fff". A file time of 2^63 or more has no calendar time and gives "0-00-00 00:00:00.000".
ShortText TimeText(const FILETIME& time);

/// The unsigned count of 100 ns ticks.
ShortText TickText(const FILETIME& time);

}  // namespace kv
