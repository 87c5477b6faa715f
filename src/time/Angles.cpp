#include "time/Angles.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "text/Numbers.h"

namespace kv {
namespace {

// Truncates toward zero. A value that does not fit 32 bits gives the result of the platform's conversion.
int TruncatedToInt(double value) {
  const double whole = std::trunc(value);
  constexpr double kTwo31 = 2147483648.0;
  return whole >= -kTwo31 && whole < kTwo31 ? static_cast<int>(whole) : std::numeric_limits<int>::min();
}

template <class Char>
double DegreesFromAnyText(std::basic_string_view<Char> text, Char hemisphere) {
  const std::size_t point = text.find(Char{'.'});
  if (point == text.npos) throw std::out_of_range("invalid string position");
  const int wholeDegreesAndMinutes = TruncatedToInt(LeadingDouble(text.substr(0, point)));
  return DegreesFromNmea(wholeDegreesAndMinutes, LeadingDouble(text.substr(point)), hemisphere);
}

}  // namespace

double DegreesFromNmea(std::wstring_view text, wchar_t hemisphere) { return DegreesFromAnyText(text, hemisphere); }

double DegreesFromNmea(std::string_view ansi, char hemisphere) {
  const auto decimal = SplitDecimal(ansi);
  if (decimal && decimal->whole <= std::uint64_t{std::numeric_limits<int>::max()}) {
    return DegreesFromNmea(static_cast<int>(decimal->whole), decimal->fraction, hemisphere);
  }
  return DegreesFromAnyText(ansi, hemisphere);
}

}  // namespace kv
