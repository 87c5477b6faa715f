#pragma once

#include "KVPlatform.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// Values as the attribute table stores them: a field is its column's width in bytes, filled to the last one. The bytes
/// are those of the table writer's own formatting in the C locale, whatever the process locale is.
namespace kv {

using Field = std::span<char>;

/// printf's "%*.*f": right-aligned, "nan", "inf" and "-0.00" as they come. A number wider than the field keeps its
/// first characters: the table has no way to say that it was cut.
void PutDecimal(Field field, double value, int decimals);

/// "%*d", cut alike.
void PutInteger(Field field, int value);

/// Left-aligned; bytes beyond the field are dropped. Wide text in the ANSI code page.
void PutText(Field field, std::string_view text);
void PutText(Field field, std::wstring_view text);

/// A text of at most 48 characters, which needs no allocation.
class ShortText {
 public:
  operator std::string_view() const { return {characters_.data(), length_}; }

  void Append(char character) { characters_[length_++] = character; }

  /// @param digits  leading zeros make up this many
  void Append(std::uint64_t number, std::size_t digits);

 private:
  std::array<char, 48> characters_;
  std::size_t length_ = 0;
};

/// "Y-MM-DD hh:mm:ss" of any fields, calendar time or not.
ShortText WholeSecondsText(const SYSTEMTIME& time);

/// "Y-MM-DD hh:mm:ss.fff". A file time of 2^63 or more has no calendar time and gives "0-00-00 00:00:00.000".
ShortText TimeText(const FILETIME& time);

/// The unsigned count of 100 ns ticks.
ShortText TickText(const FILETIME& time);

}  // namespace kv
