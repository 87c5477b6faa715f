#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "text/EightBytes.h"

/// Numbers written as digits, from the last one to the first.
namespace kv {

/// "00" to "99"
inline constexpr auto kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = static_cast<char>('0' + (i % 2 ? i / 2 % 10 : i / 20));
  return pairs;
}();

inline constexpr auto kPowersOfTen = [] {
  std::array<std::uint64_t, 20> powers{1};
  for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = 10 * powers[i - 1];
  return powers;
}();

/// Decimal digits of a number, at least one.
constexpr int DigitCount(std::uint64_t number) {
  const unsigned bits = 64 - static_cast<unsigned>(std::countl_zero(number | 1));
  const unsigned count = bits * 1233 >> 12;  // 1233 / 4096 is the logarithm of two: at most one too few
  return static_cast<int>(count) + ((number | 1) >= kPowersOfTen[count]);
}

/// Writes the last `count` digits of a number in front of `end`.
/// @param number  receives what is left of it
/// @return        where they begin
inline char* PutLastDigits(std::uint64_t& number, int count, char* end) {
  for (; count >= 8; count -= 8, number /= kPowersOfTen[8]) StoreBytes(EightDigits(number % kPowersOfTen[8]), end -= 8);
  for (; count >= 2; count -= 2, number /= 100) std::memcpy(end -= 2, &kDigitPairs[number % 100 * 2], 2);
  if (count > 0) *--end = static_cast<char>('0' + number % 10), number /= 10;
  return end;
}

/// Writes a number in front of `end`.
/// @param least  digits; zeros fill up
/// @return       where it begins
inline char* PutNumber(std::uint64_t number, int least, char* end) {
  end = PutLastDigits(number, least, end);
  while (number >= kPowersOfTen[8]) end = PutLastDigits(number, 8, end);
  while (number >= 10) end = PutLastDigits(number, 2, end);
  return number > 0 ? PutLastDigits(number, 1, end) : end;
}

inline constexpr std::size_t kLongestDecimal = 24;  ///< characters that `PutUnits` writes at most

/// Writes a number of units of the last decimal in front of `end`, as printf's "%.*f" does.
/// @param decimals  at most ten
inline char* PutUnits(std::uint64_t units, int decimals, bool isNegative, char* end) {
  if (decimals > 0) *--(end = PutLastDigits(units, decimals, end)) = '.';
  end = PutNumber(units, 1, end);
  if (isNegative) *--end = '-';
  return end;
}

/// Whether `PutUnits` writes at most `room` characters.
constexpr bool FitsUnits(std::uint64_t units, int decimals, bool isNegative, std::size_t room) {
  const std::size_t others = (decimals > 0) + std::size_t{isNegative}, digits = room - others;
  return room > others + static_cast<std::size_t>(decimals) &&
         (digits >= kPowersOfTen.size() || units < kPowersOfTen[digits]);
}

/// |value| * 10^decimals rounded to a whole number, if one multiplication settles it. Rounding keeps order, so a product
/// beside the middle between two whole numbers is on its true side; the middle itself may come from either side.
inline std::optional<std::uint64_t> RoundedUnits(double value, int decimals) {
  constexpr double kLastMiddle = 0x1p52;  // above, a double has no halves
  constexpr double kFactors[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10};
  if (static_cast<std::size_t>(decimals) >= std::size(kFactors)) return {};
  const double product = std::abs(value) * kFactors[decimals];
  if (!(product < kLastMiddle)) return {};                // NaN, too
  const auto units = static_cast<std::int64_t>(product);  // faster than without a sign
  const double part = product - static_cast<double>(units);
  if (part == 0.5) return {};
  return static_cast<std::uint64_t>(units) + (part > 0.5);
}

}  // namespace kv
