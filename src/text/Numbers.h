#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>

/// The one door through which text becomes a number: wide text, or the bytes of a field file in the ANSI code page. No
/// rule depends on the process locale.
namespace kv {

/// Lenient: blanks, one sign, then decimal digits (of any script) as far as they go; no digits give 0, values beyond 32
/// bits the nearest limit.
int LeadingInteger(std::wstring_view text);
int LeadingInteger(std::string_view ansi);

/// What `WholeInteger` and `WholeDouble` below ask, which are inline: an optional handed back by a call is written and
/// read in pieces of different size, and the processor waits.
/// @param number  unchanged where there is none
/// @return        whether there is one
bool ReadWhole(std::wstring_view text, std::int64_t& number);
bool ReadWhole(std::string_view ansi, std::int64_t& number);
bool ReadWhole(std::wstring_view text, double& number);
bool ReadWhole(std::string_view ansi, double& number);

template <class Number, class Text>
std::optional<Number> Whole(Text text) {
  Number number{};
  return ReadWhole(text, number) ? std::optional(number) : std::nullopt;
}

/// Strict: the whole text is a decimal integer of 64 bits with at most one sign; else nothing.
inline std::optional<std::int64_t> WholeInteger(std::wstring_view text) { return Whole<std::int64_t>(text); }
inline std::optional<std::int64_t> WholeInteger(std::string_view ansi) { return Whole<std::int64_t>(ansi); }

/// What fits 32 bits, else nothing.
constexpr std::optional<std::int32_t> Within32Bits(std::optional<std::int64_t> value) {
  if (!value || static_cast<std::int32_t>(*value) != *value) return std::nullopt;
  return static_cast<std::int32_t>(*value);
}

/// As `WholeInteger` with the range of 32 bits.
inline std::optional<std::int32_t> WholeInteger32(std::wstring_view text) { return Within32Bits(WholeInteger(text)); }
inline std::optional<std::int32_t> WholeInteger32(std::string_view ansi) { return Within32Bits(WholeInteger(ansi)); }

/// Strict: the whole text is a decimal number with at most one sign, digits on one side of the point at least, and an
/// exponent that has digits; or "inf", "infinity", "nan", "nan(anything)" in any case of letters; else nothing. The
/// nearest double; what is too small becomes zero, what is too large is no number.
inline std::optional<double> WholeDouble(std::wstring_view text) { return Whole<double>(text); }
inline std::optional<double> WholeDouble(std::string_view ansi) { return Whole<double>(ansi); }

/// As `WholeDouble`, but neither infinity nor NaN.
inline std::optional<double> FiniteNumber(std::string_view ansi) {
  const auto number = WholeDouble(ansi);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

/// Strict: one to nine decimal digits and nothing else, so no sign either.
constexpr std::optional<int> Digits(std::string_view text) {
  if (text.empty() || text.size() > 9) return std::nullopt;
  int number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + (c - '0');
  }
  return number;
}

/// A text of digits, a point and digits, of 18 digits at the most.
struct PlainDecimal {
  std::uint64_t whole;
  double fraction;  // the double nearest to the text from its point on
};

/// Nothing for a text of any other form.
std::optional<PlainDecimal> SplitDecimal(std::string_view ansi);

/// The number at the start of the text, as `std::stod` reads it in the C locale: blanks, sign, decimal or hexadecimal
/// digits with exponent, infinity, NaN; what follows is ignored. Subnormal values are numbers like others.
/// @throws std::invalid_argument "invalid stod argument" when there is no number
/// @throws std::out_of_range "stod argument out of range" when it is too large, or rounds to zero and is not
double LeadingDouble(std::wstring_view text);
double LeadingDouble(std::string_view ansi);

}  // namespace kv
