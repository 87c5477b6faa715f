#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

/// Strict whole-text numbers; the process locale plays no part.
namespace kv::mission {

/// Only decimal digits, few enough for an int.
inline std::optional<int> Digits(std::string_view text) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  if (text.empty() || text.size() > 9 || !std::all_of(text.begin(), text.end(), isDigit)) return std::nullopt;
  int value = 0;
  for (const char c : text) value = value * 10 + (c - '0');
  return value;
}

template <typename Number>
std::optional<Number> WholeNumber(std::string_view text) {
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

/// Digits with at most one point among them, 16 characters at the most: the quotient of a whole number and a power of ten,
/// rounded once and so the nearest double. Nothing for any other text.
inline std::optional<double> ShortDecimal(std::string_view text) {
  static constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  if (text.empty() || text.size() > std::size(kPowersOfTen)) return std::nullopt;
  std::int64_t number = 0;
  std::size_t point = text.size();
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int digit = text[i] - '0';
    if (digit >= 0 && digit <= 9) {
      number = number * 10 + digit;
    } else if (text[i] == '.' && point == text.size() && text.size() > 1) {
      point = i;
    } else {
      return std::nullopt;
    }
  }
  const std::size_t decimals = point == text.size() ? 0 : text.size() - point - 1;
  return static_cast<double>(number) / kPowersOfTen[decimals];
}

/// A finite decimal number, with one sign at most.
inline std::optional<double> Decimal(std::string_view text) {
  if (const auto value = ShortDecimal(text)) return value;
  const auto value = WholeNumber<double>(text);
  return value && std::isfinite(*value) ? value : std::nullopt;
}

inline std::optional<std::int64_t> Integer(std::string_view text) { return WholeNumber<std::int64_t>(text); }

}  // namespace kv::mission
