#pragma once

#include <boost/lexical_cast.hpp>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <optional>
#include <string_view>

/// The conversion that names the rule of strict numbers.
namespace baseline {

template <class Number>
std::optional<Number> WholeNumber(std::wstring_view text) {
  Number value{};
  if (!boost::conversion::try_lexical_convert(text.data(), text.size(), value)) return std::nullopt;
  return value;
}

}  // namespace baseline
