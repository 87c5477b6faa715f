#include "text/Numbers.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>

#include "platform/CodePage.h"
#include "text/Blanks.h"
#include "text/EightBytes.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kv {
namespace {

template <class Char>
bool IsDigit(Char c) {
  return c >= '0' && c <= '9';
}

// 0-9 for a decimal digit of any script the platform's conversion knows, else -1.
int DigitValue(wchar_t c) {
  static constexpr wchar_t kZeros[] = {L'0',   0x0660, 0x06F0, 0x0966, 0x09E6, 0x0A66, 0x0AE6, 0x0B66, 0x0C66,
                                       0x0CE6, 0x0D66, 0x0E50, 0x0ED0, 0x0F20, 0x1040, 0x17E0, 0x1810, 0xFF10};
  for (const wchar_t zero : kZeros) {
    if (c < zero) break;
    if (const int digit = static_cast<int>(c) - static_cast<int>(zero); digit < 10) return digit;
  }
  return -1;
}

template <class Char>
struct Signed {
  bool negative;
  std::basic_string_view<Char> rest;
};

template <class Char>
Signed<Char> TakeSign(std::basic_string_view<Char> text) {
  const Char first = text.empty() ? Char{} : text.front();
  const bool isMinus = first == '-', isPlus = first == '+';
  text.remove_prefix(std::size_t{isMinus} + std::size_t{isPlus});
  return {isMinus, text};
}

template <class Char>
struct DigitRun {
  const Char* end;
  std::uint64_t number;
};

// Appends the leading digits of a text to a number, which wraps beyond 19 digits. Digits are taken four at a time so
// that the steps do not wait for each other.
template <class Char>
DigitRun<Char> TakeDigits(const Char* at, const Char* end, std::uint64_t number = 0) {
  const auto digit = [&at](int i) { return static_cast<std::uint32_t>(at[i]) - '0'; };
  for (; end - at >= 4; at += 4) {
    const std::uint32_t a = digit(0), b = digit(1), c = digit(2), d = digit(3);
    if ((a > 9) | (b > 9) | (c > 9) | (d > 9)) break;
    number = number * 10'000 + (a * 1000 + b * 100 + c * 10 + d);
  }
  for (; at != end && digit(0) <= 9; ++at) number = number * 10 + digit(0);
  return {at, number};
}

constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
                                   1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};
constexpr std::ptrdiff_t kMostDigits = std::size(kPowersOfTen) - 1;
constexpr std::uint64_t kLargestExact = std::uint64_t{1} << 53;  // up to here every whole number is a double

// The number of eight digits from their values: joins pairs, then fours, then all.
constexpr std::uint64_t NumberOf(std::uint64_t values) {
  values = PairsOf(values);
  values = (values * 100 + (values >> 16)) & 0x0000'FFFF'0000'FFFF;
  return (values * 10'000 + (values >> 32)) & 0xFFFF'FFFF;
}

// Reads the last of eight digits.
// @param count  1-8
bool ReadLastDigits(std::uint64_t values, std::size_t count, std::uint64_t& number) {
  const std::size_t others = 8 * (8 - count);  // bits
  values = values >> others << others;
  if (OtherThanDigits(values) != 0) return false;
  number = NumberOf(values);
  return true;
}

// Digits, a point and digits.
struct DecimalParts {
  std::uint64_t whole, fraction;
  std::size_t decimals;
};

// Accepts up to seven digits, a point and digits, four to sixteen characters in all: most numbers of a field file.
std::optional<DecimalParts> SplitShort(std::string_view text) {
  constexpr std::size_t kWord = sizeof(std::uint64_t), kHalf = kWord / 2;
  const std::size_t size = text.size();
  if (size < kHalf || size > 2 * kWord) return std::nullopt;
  const char *begin = text.data(), *end = begin + size;
  // The first and the last eight bytes, which may overlap. A shorter text is loaded in two halves, since nothing beyond
  // its ends may be read.
  std::uint64_t first, last;
  if (size >= kWord) {
    first = LoadBytes(begin);
    last = LoadBytes(end - kWord);
  } else {
    first = LoadBytes(begin, kHalf) | LoadBytes(end - kHalf, kHalf) << 8 * (size - kHalf);
    last = first << 8 * (kWord - size);
  }
  const std::uint64_t firstValues = DigitValues(first);
  const std::size_t point = FirstByte(OtherThanDigits(firstValues));
  const std::size_t decimals = size - point - 1;
  if (point == 0 || point >= kWord || decimals == 0 || decimals > 2 * kWord || begin[point] != '.') return std::nullopt;

  std::uint64_t fraction = 0;
  if (!ReadLastDigits(DigitValues(last), std::min(decimals, kWord), fraction)) return std::nullopt;
  if (decimals > kWord) {  // the others, all in the first word
    const std::uint64_t firstDecimals = firstValues >> 8 * (point + 1) << 8 * (2 * kWord - decimals);
    if (OtherThanDigits(firstDecimals) != 0) return std::nullopt;
    fraction += NumberOf(firstDecimals) * 100'000'000;
  }
  return DecimalParts{NumberOf(firstValues << 8 * (kWord - point)), fraction, decimals};
}

// The sum and both its terms are whole numbers below 10^15.
double Nearest(const DecimalParts& parts) {
  const double power = kPowersOfTen[parts.decimals];
  return (static_cast<double>(parts.whole) * power + static_cast<double>(parts.fraction)) / power;
}

// The common case of a number, digits with at most one point: a whole mantissa and a power of ten that are both exact
// in a double, so that their quotient is the nearest double to the text. False for any other text.
template <class Char>
bool ReadShortDecimal(std::basic_string_view<Char> text, double& number) {
  const Char *begin = text.data(), *at = begin, *end = begin + text.size();
  std::uint64_t mantissa = 0;
  // One by one: in front of the point there are few.
  for (; at != end && IsDigit(*at); ++at) mantissa = mantissa * 10 + static_cast<std::uint64_t>(*at - '0');
  std::ptrdiff_t digits = at - begin, decimals = 0;
  if (at != end) {
    if (*at != '.') return false;
    const Char* fraction = at + 1;
    const DigitRun decimalsTaken = TakeDigits(fraction, end, mantissa);
    if (decimalsTaken.end != end) return false;
    mantissa = decimalsTaken.number;
    decimals = end - fraction;
    digits += decimals;
  }
  if (digits == 0 || digits > kMostDigits || mantissa > kLargestExact) return false;
  number = static_cast<double>(mantissa) / kPowersOfTen[decimals];
  return true;
}

bool ReadShortDecimal(std::string_view text, double& number) {
  if (ReadTinyDecimal(text, number)) return true;
  const auto parts = SplitShort(text);
  if (!parts) return ReadShortDecimal<char>(text, number);
  number = Nearest(*parts);
  return true;
}

// The characters that a number can consist of, up to the first other one, as bytes.
template <class Char>
std::string_view NumberCharacters(std::basic_string_view<Char> text, std::string& buffer) {
  static constexpr std::string_view kAlphabet = "0123456789.+-abcdefxpintyABCDEFXPINTY";
  const auto isOther = [](Char c) {
    return c <= 0 || c >= 0x80 || kAlphabet.find(static_cast<char>(c)) == std::string_view::npos;
  };
  buffer.clear();
  for (auto at = text.begin(); at != text.end() && !isOther(*at); ++at) buffer += static_cast<char>(*at);
  return buffer;
}

bool StartsHexadecimal(std::string_view digits) {
  if (digits.size() < 3 || digits[0] != '0' || (digits[1] != 'x' && digits[1] != 'X')) return false;
  const auto isHexDigit = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
  };
  return isHexDigit(digits[2]) || (digits[2] == '.' && digits.size() > 3 && isHexDigit(digits[3]));
}

// "nan" in any letter case, with or without "(anything)" after it.
template <class Char>
bool IsNan(std::basic_string_view<Char> text) {
  const auto isLetter = [](Char c, char letter) { return c == letter || c == letter - 'a' + 'A'; };
  const bool isBare = text.size() == 3 || (text.size() >= 5 && text[3] == '(' && text.back() == ')');
  return isBare && isLetter(text[0], 'n') && isLetter(text[1], 'a') && isLetter(text[2], 'n');
}

// Whether a decimal number outside the range of a double is too small rather than too large, by the place of its first
// significant digit.
bool IsTooSmall(std::string_view number) {
  const std::size_t mantissaEnd = std::min(number.find_first_of("eE"), number.size());
  const std::string_view mantissa = number.substr(0, mantissaEnd);
  const std::string_view exponent = number.substr(std::min(mantissaEnd + 1, number.size()));
  const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
  const auto firstDigit = static_cast<std::int64_t>(mantissa.find_first_of("123456789"));
  return point - firstDigit + LeadingInteger(exponent) < 0;
}

// The whole text as a number or infinity without a sign.
template <class Char>
std::optional<double> UnsignedDouble(std::basic_string_view<Char> text) {
  std::string buffer;
  const std::string_view number = NumberCharacters(text, buffer);
  if (number.size() != text.size() || number.starts_with('-')) return std::nullopt;
  double value = 0.0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (error == std::errc::invalid_argument || end != number.data() + number.size()) return std::nullopt;
  if (error == std::errc()) return value;
  return IsTooSmall(number) ? std::optional(0.0) : std::nullopt;
}

double WithSign(double magnitude, bool negative) {
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(magnitude) | std::uint64_t{negative} << 63);
}

std::wstring Widened(std::string_view bytes) {
  std::wstring wide;
  WidenAnsi(bytes, wide);
  return wide;
}

// Reads a text that is not a short decimal.
template <class Char>
bool ReadOtherDouble(std::basic_string_view<Char> text, bool negative, double& number) {
  const auto magnitude = IsNan(text) ? std::numeric_limits<double>::quiet_NaN() : UnsignedDouble(text);
  if (magnitude) number = WithSign(*magnitude, negative);
  return magnitude.has_value();
}

template <class Char>
bool ReadDouble(std::basic_string_view<Char> text, double& number) {
  const auto [negative, rest] = TakeSign(text);
  double magnitude = 0.0;
  if (!ReadShortDecimal(rest, magnitude)) return ReadOtherDouble(rest, negative, number);
  number = WithSign(magnitude, negative);
  return true;
}

// Four characters as bytes. What is not ASCII becomes no digit.
std::uint64_t FourBytes(const char* at) { return LoadBytes(at, 4); }

std::uint64_t FourBytes(const wchar_t* at) {
#if defined(__SSE2__)
  if constexpr (sizeof(wchar_t) == 4) {
    const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    const __m128i pairs = _mm_packs_epi32(four, four);  // larger ones become the largest
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(pairs, pairs)));
  }
#endif
  std::uint64_t bytes = 0;
  for (int i = 4; i-- > 0;) {
    const auto character = static_cast<std::uint32_t>(at[i]);
    bytes = bytes << 8 | (character < 0x80 ? character : 0u);
  }
  return bytes;
}

// Reads at most 19 digits and nothing else. The first step takes one to eight digits, the others take eight: numbers of
// nearly the same length take the same steps, and the processor guesses right.
template <class Char>
bool ReadDigits(const Char* at, const Char* end, std::uint64_t& number) {
  constexpr std::ptrdiff_t kFour = 4, kEight = 8;
  if (end - at < kFour) {
    const DigitRun run = TakeDigits(at, end);
    number = run.number;
    return run.end == end;
  }
  if (const std::ptrdiff_t count = end - at; count < kEight) {  // two fours, which overlap
    const std::uint64_t bytes = FourBytes(at) << 8 * (kEight - count) | FourBytes(end - kFour) << 32;
    return ReadLastDigits(DigitValues(bytes), static_cast<std::size_t>(count), number);
  }
  std::uint64_t others = 0;
  for (std::ptrdiff_t count = (end - at - 1) % kEight + 1; at != end; at += count, count = kEight) {
    const std::uint64_t values = DigitValues(FourBytes(at) | FourBytes(at + kFour) << 32) << 8 * (kEight - count);
    others |= OtherThanDigits(values);
    number = number * 100'000'000 + NumberOf(values);
  }
  return others == 0;
}

template <class Char>
bool ReadInteger(std::basic_string_view<Char> text, std::int64_t& number) {
  constexpr std::ptrdiff_t kMost = 19;  // digits; more are beyond 64 bits
  const auto [negative, digits] = TakeSign(text);
  const Char *at = digits.data(), *end = at + digits.size();
  if (at == end) return false;
  if (end - at > kMost) at = std::find_if(at, end, [](Char c) { return c != '0'; });
  const std::uint64_t largest = std::uint64_t{std::numeric_limits<std::int64_t>::max()} + (negative ? 1 : 0);
  if (end - at > kMost) return false;
  std::uint64_t magnitude = 0;
  if (!ReadDigits(at, end, magnitude) || magnitude > largest) return false;
  number = static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
  return true;
}

// Reads the number at the start of the text, which has no sign.
double LeadingMagnitude(std::string_view text) {
  if (text.starts_with('-')) text = {};
  const bool hexadecimal = StartsHexadecimal(text);
  if (hexadecimal) text.remove_prefix(2);
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value,
                                            hexadecimal ? std::chars_format::hex : std::chars_format::general);
  if (error == std::errc::invalid_argument) throw std::invalid_argument("invalid stod argument");
  if (error != std::errc()) throw std::out_of_range("stod argument out of range");
  return value;
}

}  // namespace

// Without the point, the digits are one whole number.
bool ReadTinyDecimal(std::string_view text, double& number) {
  constexpr std::size_t kWord = sizeof(std::uint64_t), kHalf = kWord / 2, kLeast = 3;
  const std::size_t size = text.size();
  if (size < kLeast || size > kWord) return false;
  const char *begin = text.data(), *end = begin + size;
  const std::uint64_t bytes = size >= kHalf
                                  ? LoadBytes(begin, kHalf) | LoadBytes(end - kHalf, kHalf) << 8 * (size - kHalf)
                                  : LoadBytes(begin, 2) | LoadBytes(end - 1, 1) << 16;
  const std::uint64_t values = DigitValues(bytes);
  const std::size_t point = FirstByte(OtherThanDigits(values));
  if (point == 0 || point + 1 >= size || begin[point] != '.') return false;
  const std::uint64_t whole = values & ((std::uint64_t{1} << 8 * point) - 1);
  const std::uint64_t digits = (whole | values >> 8 * (point + 1) << 8 * point) << 8 * (kWord + 1 - size);
  if (OtherThanDigits(digits) != 0) return false;
  number = static_cast<double>(NumberOf(digits)) / kPowersOfTen[size - point - 1];
  return true;
}

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

int LeadingInteger(std::string_view ansi) {
  constexpr std::size_t kMost = std::numeric_limits<int>::digits10;
  const char* end = ansi.data() + ansi.size();
  const auto [digitsEnd, number] = TakeDigits(ansi.data(), end);
  const bool isShort = digitsEnd == end && ansi.size() <= kMost;
  return isShort ? static_cast<int>(number) : LeadingInteger(std::wstring_view(Widened(ansi)));
}

bool ReadWhole(std::wstring_view text, std::int64_t& number) { return ReadInteger(text, number); }
bool ReadWhole(std::string_view ansi, std::int64_t& number) { return ReadInteger(ansi, number); }

bool ReadWhole(std::wstring_view text, double& number) { return ReadDouble(text, number); }
bool ReadWhole(std::string_view ansi, double& number) { return ReadDouble(ansi, number); }

std::optional<PlainDecimal> SplitDecimal(std::string_view ansi) {
  if (const auto parts = SplitShort(ansi)) {
    return PlainDecimal{parts->whole, static_cast<double>(parts->fraction) / kPowersOfTen[parts->decimals]};
  }
  const char *begin = ansi.data(), *end = begin + ansi.size();
  const auto [point, whole] = TakeDigits(begin, end);
  if (ansi.size() > kMostDigits + 1 || point == begin || end - point < 2 || *point != '.') return std::nullopt;
  const auto [fractionEnd, fraction] = TakeDigits(point + 1, end);
  if (fractionEnd != end || fraction > kLargestExact) return std::nullopt;
  return PlainDecimal{whole, static_cast<double>(fraction) / kPowersOfTen[end - point - 1]};
}

bool ReadDecimals(std::string_view text, std::size_t decimals, double& fraction) {
  std::uint64_t number = 0;
  if (!ReadLastDigits(DigitValues(LoadBytes(text.data() + text.size() - 8)), decimals, number)) return false;
  fraction = static_cast<double>(number) / kPowersOfTen[decimals];
  return true;
}

double LeadingDouble(std::wstring_view text) {
  const auto [negative, rest] = TakeSign(WithoutLeadingBlanks(text));
  double magnitude = 0.0;
  if (ReadShortDecimal(rest, magnitude)) return WithSign(magnitude, negative);
  std::string buffer;
  return WithSign(LeadingMagnitude(NumberCharacters(rest, buffer)), negative);
}

double LeadingDouble(std::string_view ansi) {
  double magnitude = 0.0;
  if (ReadTinyDecimal(ansi, magnitude)) return magnitude;
  const auto [negative, rest] = TakeSign(ansi);
  if (ReadShortDecimal(rest, magnitude)) return WithSign(magnitude, negative);
  ansi.remove_prefix(std::min(ansi.find_first_not_of("\t\n\v\f\r "), ansi.size()));
  const bool isAscii = ansi.empty() || static_cast<unsigned char>(ansi.front()) < 0x80;
  if (!isAscii) return LeadingDouble(std::wstring_view(Widened(ansi)));  // perhaps a blank of the code page
  const auto [isNegative, digits] = TakeSign(ansi);
  return WithSign(LeadingMagnitude(digits), isNegative);
}

}  // namespace kv
