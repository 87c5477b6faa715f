#pragma once

#include "KVPlatform.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <string_view>

#include "text/Decimals.h"

/// Values in the attribute table's form: a field has its column's width in bytes and is blank before. The bytes are
/// those of the table writer's own formatting in the C locale, in every process locale.
///
/// Numbers are inline, so that the compiler knows a column's width and decimals, and are made in the field itself: a
/// copy of bytes just written would wait for them.
namespace kv {

using Field = std::span<char>;

/// @return false, with the field still blank, if the number does not fit
inline bool PutUnitsIn(Field field, std::uint64_t units, int decimals, bool isNegative) {
  if (!FitsUnits(units, decimals, isNegative, field.size())) return false;
  PutUnits(units, decimals, isNegative, field.data() + field.size());
  return true;
}

/// Any number, slowly.
void PutAnyDecimal(Field field, double value, int decimals);

/// Like printf's "%*.*f": right-aligned, with "nan", "inf" and "-0.00" unchanged. A number wider than the field keeps
/// its first characters; the table cannot mark the cut.
inline void PutDecimal(Field field, double value, int decimals) {
  const std::optional<std::uint64_t> units = RoundedUnits(value, decimals);
  if (!units || !PutUnitsIn(field, *units, decimals, std::signbit(value))) PutAnyDecimal(field, value, decimals);
}

/// Like "%*d", cut in the same way.
inline void PutInteger(Field field, int value) {
  const auto magnitude = static_cast<std::uint64_t>(std::abs(std::int64_t{value}));
  if (!PutUnitsIn(field, magnitude, 0, value < 0)) PutAnyDecimal(field, value, 0);
}

/// Left-aligned; bytes beyond the field are dropped. Wide text is written in the ANSI code page.
void PutText(Field field, std::string_view text);
void PutText(Field field, std::wstring_view text);

// Times, left-aligned, in a field of at least 40 characters.

/// "Y-MM-DD hh:mm:ss" of any fields, valid or not.
void PutWholeSeconds(Field field, const SYSTEMTIME& time);

/// "Y-MM-DD hh:mm:ss.fff". A file time of 2^63 or more has no calendar time and gives "0-00-00 00:00:00.000".
void PutTime(Field field, const FILETIME& time);

/// The unsigned count of 100 ns ticks.
void PutTicks(Field field, const FILETIME& time);

}  // namespace kv
