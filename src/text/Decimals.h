#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

/// Numbers written as digits, from the last one to the first.
namespace kv {

/// "00" to "99"
inline constexpr auto kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = static_cast<char>('0' + (i % 2 ? i / 2 % 10 : i / 20));
  return pairs;
}();

/// Writes the last `count` digits of a number in front of `end`.
/// @param number  receives what is left of it
/// @return        where they begin
inline char* PutLastDigits(std::uint64_t& number, int count, char* end) {
  for (; count >= 2; count -= 2, number /= 100) std::memcpy(end -= 2, &kDigitPairs[number % 100 * 2], 2);
  if (count > 0) *--end = static_cast<char>('0' + number % 10), number /= 10;
  return end;
}

/// Writes a number in front of `end`.
/// @param least  digits; zeros fill up
/// @return       where it begins
inline char* PutNumber(std::uint64_t number, int least, char* end) {
  end = PutLastDigits(number, least, end);
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

/// |value| * 10^decimals rounded to a whole number, if one multiplication settles it. Rounding keeps order, so a product
/// beside the middle between two whole numbers is on its true side; the middle itself may come from either side.
inline std::optional<std::uint64_t> RoundedUnits(double value, int decimals) {
  constexpr double kLastMiddle = 0x1p52;  // above, a double has no halves
  constexpr double kPowersOfTen[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10};
  if (static_cast<std::size_t>(decimals) >= std::size(kPowersOfTen)) return {};
  const double product = std::abs(value) * kPowersOfTen[decimals];
  if (!(product < kLastMiddle)) return {};  // NaN, too
  const auto units = static_cast<std::uint64_t>(product);
  const double part = product - static_cast<double>(units);
  if (part == 0.5) return {};
  return units + (part > 0.5);
}

}  // namespace kv
