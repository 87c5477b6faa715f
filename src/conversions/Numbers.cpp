#include "conversions/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>

#include "conversions/Blanks.h"

namespace kv {
namespace {

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// 0-9 for a decimal digit of any script the platform's conversion knows, else -1.
int DigitValue(wchar_t c) {
  static constexpr wchar_t kZeros[] = {L'0',   0x0660, 0x06F0, 0x0966, 0x09E6, 0x0A66, 0x0AE6, 0x0B66, 0x0C66,
                                       0x0CE6, 0x0D66, 0x0E50, 0x0ED0, 0x0F20, 0x1040, 0x17E0, 0x1810, 0xFF10};
  for (const wchar_t zero : kZeros) {
    if (c < zero) break;
    if (c - zero < 10) return c - zero;
  }
  return -1;
}

struct Sign {
  bool negative;
  std::wstring_view rest;
};

Sign TakeSign(std::wstring_view text) {
  const bool hasSign = !text.empty() && (text.front() == L'-' || text.front() == L'+');
  return {hasSign && text.front() == L'-', text.substr(hasSign ? 1 : 0)};
}

// The common case of a number, digits with at most one point: a whole mantissa and a power of ten that are both exact
// in a double, so that their quotient is the nearest double to the text. Nothing for any other text.
std::optional<double> ShortDecimal(std::wstring_view text) {
  constexpr std::size_t kExactDigits = 15;
  static constexpr double kPowersOfTen[kExactDigits + 1] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  if (text.size() > kExactDigits + 1) return std::nullopt;
  std::int64_t mantissa = 0;
  std::size_t digits = 0, decimals = 0;
  bool pastPoint = false;
  for (const wchar_t c : text) {
    if (c == L'.' && !pastPoint) {
      pastPoint = true;
      continue;
    }
    if (!IsDigit(c)) return std::nullopt;
    mantissa = mantissa * 10 + (c - L'0');
    ++digits;
    decimals += pastPoint ? 1 : 0;
  }
  if (digits == 0 || digits > kExactDigits) return std::nullopt;
  return static_cast<double>(mantissa) / kPowersOfTen[decimals];
}

// The characters that a number can consist of, up to the first other one, as bytes.
template <class Buffer>
std::string_view NumberCharacters(std::wstring_view text, Buffer& buffer) {
  static constexpr std::wstring_view kAlphabet = L"0123456789.+-abcdefxpintyABCDEFXPINTY";
  const std::size_t length = std::min(text.find_first_not_of(kAlphabet), text.size());
  if (length > std::size(buffer)) buffer.resize(length);
  std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length), buffer.begin(),
                 [](wchar_t c) { return static_cast<char>(c); });
  return {buffer.data(), length};
}

bool StartsHexadecimal(std::string_view digits) {
  if (digits.size() < 3 || digits[0] != '0' || (digits[1] != 'x' && digits[1] != 'X')) return false;
  const auto isHexDigit = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
  };
  return isHexDigit(digits[2]) || (digits[2] == '.' && digits.size() > 3 && isHexDigit(digits[3]));
}

// "nan", in any case of letters, also with anything between "(" and ")" behind it.
bool IsNan(std::wstring_view text) {
  const auto isLetter = [](wchar_t c, wchar_t letter) { return c == letter || c == letter - L'a' + L'A'; };
  const bool isBare = text.size() == 3 || (text.size() >= 5 && text[3] == L'(' && text.back() == L')');
  return isBare && isLetter(text[0], L'n') && isLetter(text[1], L'a') && isLetter(text[2], L'n');
}

// Whether a decimal number beyond the range of a double is too small for it rather than too large: its first
// significant digit tells.
bool IsTooSmall(std::wstring_view number) {
  const std::size_t mantissaEnd = std::min(number.find_first_of(L"eE"), number.size());
  const std::wstring_view mantissa = number.substr(0, mantissaEnd);
  const std::wstring_view exponent = number.substr(std::min(mantissaEnd + 1, number.size()));
  const auto point = static_cast<std::int64_t>(std::min(mantissa.find(L'.'), mantissa.size()));
  const auto firstDigit = static_cast<std::int64_t>(mantissa.find_first_of(L"123456789"));
  return point - firstDigit + LeadingInteger(exponent) < 0;
}

// A number or infinity without a sign that is the whole of the text.
std::optional<double> UnsignedDouble(std::wstring_view text) {
  std::string buffer;
  const std::string_view number = NumberCharacters(text, buffer);
  if (number.size() != text.size() || number.starts_with('-')) return std::nullopt;
  double value = 0.0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (error == std::errc::invalid_argument || end != number.data() + number.size()) return std::nullopt;
  if (error == std::errc()) return value;
  return IsTooSmall(text) ? std::optional(0.0) : std::nullopt;
}

}  // namespace

int LeadingInteger(std::wstring_view text) {
  const auto [negative, digits] = TakeSign(WithoutLeadingBlanks(text));
  constexpr std::int64_t kLargest = std::numeric_limits<int>::max();
  std::int64_t magnitude = 0;
  for (const wchar_t c : digits) {
    const int digit = DigitValue(c);
    if (digit < 0) break;
    magnitude = std::min(magnitude * 10 + digit, kLargest + 1);
  }
  return static_cast<int>(negative ? -magnitude : std::min(magnitude, kLargest));
}

std::optional<std::int64_t> WholeInteger(std::wstring_view text) {
  const auto [negative, digits] = TakeSign(text);
  const std::uint64_t largest = std::uint64_t{std::numeric_limits<std::int64_t>::max()} + (negative ? 1 : 0);
  std::uint64_t magnitude = 0;
  for (const wchar_t c : digits) {
    if (!IsDigit(c)) return std::nullopt;
    const auto digit = static_cast<std::uint64_t>(c - L'0');
    if (magnitude > (largest - digit) / 10) return std::nullopt;
    magnitude = magnitude * 10 + digit;
  }
  if (digits.empty()) return std::nullopt;
  return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

std::optional<std::int32_t> WholeInteger32(std::wstring_view text) {
  const auto value = WholeInteger(text);
  const auto low32Bits = static_cast<std::int32_t>(value.value_or(0));
  return value == low32Bits ? std::optional(low32Bits) : std::nullopt;
}

std::optional<double> WholeDouble(std::wstring_view text) {
  const auto [negative, rest] = TakeSign(text);
  std::optional<double> value = ShortDecimal(rest);
  if (!value && IsNan(rest)) value = std::numeric_limits<double>::quiet_NaN();
  if (!value) value = UnsignedDouble(rest);
  if (value && negative) value = std::copysign(*value, -1.0);
  return value;
}

double LeadingDouble(std::wstring_view text) {
  const auto [negative, rest] = TakeSign(WithoutLeadingBlanks(text));
  if (const auto value = ShortDecimal(rest)) return negative ? -*value : *value;
  std::string buffer;
  std::string_view digits = NumberCharacters(rest, buffer);
  if (digits.starts_with('-') || digits.starts_with('+')) digits = {};  // a second sign

  double value = 0.0;
  const bool hexadecimal = StartsHexadecimal(digits);
  if (hexadecimal) digits.remove_prefix(2);
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value,
                                            hexadecimal ? std::chars_format::hex : std::chars_format::general);
  if (error == std::errc::invalid_argument) throw std::invalid_argument("invalid stod argument");
  if (error != std::errc()) throw std::out_of_range("stod argument out of range");
  return negative ? -value : value;
}

}  // namespace kv
