#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>

/// The one door through which text becomes a number: wide text, or the bytes of a field file in the ANSI code page. No
/// rule depends on the process locale.
namespace kv {

/// Lenient: blanks, at most one sign, then decimal digits (of any script) as far as they go. Without digits the result
/// is 0; a value beyond 32 bits gives the nearest limit.
int LeadingInteger(std::wstring_view text);
int LeadingInteger(std::string_view ansi);

/// Out-of-line core of `WholeInteger` and `WholeDouble`. Writes through a reference: returning an optional costs a
/// store-forwarding stall.
/// @param number  unchanged unless the text is a number
/// @return        whether the text is a number
bool ReadWhole(std::wstring_view text, std::int64_t& number);
bool ReadWhole(std::string_view ansi, std::int64_t& number);
bool ReadWhole(std::wstring_view text, double& number);
bool ReadWhole(std::string_view ansi, double& number);

/// Reads what most numbers of field files are: three to eight characters, digits around a point. The same double as from
/// `ReadWhole`, and at half the cost.
/// @param number  unchanged for any other text
bool ReadTinyDecimal(std::string_view ansi, double& number);

template <class Number, class Text>
std::optional<Number> Whole(Text text) {
  Number number{};
  return ReadWhole(text, number) ? std::optional(number) : std::nullopt;
}

/// Strict: the whole text is a decimal integer of 64 bits with at most one sign; else nothing.
inline std::optional<std::int64_t> WholeInteger(std::wstring_view text) { return Whole<std::int64_t>(text); }
inline std::optional<std::int64_t> WholeInteger(std::string_view ansi) { return Whole<std::int64_t>(ansi); }

/// The value if it fits 32 bits, else nothing.
constexpr std::optional<std::int32_t> Within32Bits(std::optional<std::int64_t> value) {
  if (!value || static_cast<std::int32_t>(*value) != *value) return std::nullopt;
  return static_cast<std::int32_t>(*value);
}

/// Like `WholeInteger`, limited to 32 bits.
inline std::optional<std::int32_t> WholeInteger32(std::wstring_view text) { return Within32Bits(WholeInteger(text)); }
inline std::optional<std::int32_t> WholeInteger32(std::string_view ansi) { return Within32Bits(WholeInteger(ansi)); }

/// Strict: the whole text is a decimal number with at most one sign, digits on at least one side of the point and, if
/// it has an exponent, digits there; or "inf", "infinity", "nan", "nan(anything)" in any letter case; else nothing.
/// Gives the nearest double. A number too small for a double becomes zero; one too large gives nothing.
inline std::optional<double> WholeDouble(std::wstring_view text) { return Whole<double>(text); }
inline std::optional<double> WholeDouble(std::string_view ansi) { return Whole<double>(ansi); }

/// Like `WholeDouble`, but refuses infinity and NaN.
template <class Text>
std::optional<double> FiniteNumber(const Text& text) {
  const auto number = WholeDouble(text);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

/// Strict: one to nine decimal digits and nothing else, not even a sign.
constexpr std::optional<int> Digits(std::string_view text) {
  if (text.empty() || text.size() > 9) return std::nullopt;
  int number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + (c - '0');
  }
  return number;
}

/// The parts of a text of digits, a point and digits, with at most 18 digits.
struct PlainDecimal {
  std::uint64_t whole;
  double fraction;  // the double nearest to the text from the point on
};

/// @return nothing for a text of any other form
std::optional<PlainDecimal> SplitDecimal(std::string_view ansi);

/// Reads the decimals at the end of a text.
/// @param text      at least eight characters
/// @param decimals  1-8
/// @param fraction  the double nearest to a point and the decimals; unchanged if they are not digits
bool ReadDecimals(std::string_view text, std::size_t decimals, double& fraction);

/// The number at the start of the text, as `std::stod` reads it in the C locale: blanks, sign, decimal or hexadecimal
/// digits with exponent, infinity, NaN; the rest is ignored. Subnormal values are accepted.
/// @throws std::invalid_argument "invalid stod argument" when there is no number
/// @throws std::out_of_range "stod argument out of range" when it is too large, or not zero but rounds to zero
double LeadingDouble(std::wstring_view text);
double LeadingDouble(std::string_view ansi);

}  // namespace kv
