#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
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

/// A finite decimal number, with one sign at most.
inline std::optional<double> Decimal(std::string_view text) {
  const auto value = WholeNumber<double>(text);
  return value && std::isfinite(*value) ? value : std::nullopt;
}

inline std::optional<std::int64_t> Integer(std::string_view text) { return WholeNumber<std::int64_t>(text); }

}  // namespace kv::mission
