#include "time/Angles.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "platform/CodePage.h"
#include "text/Numbers.h"

namespace kv {
namespace {

// Truncated toward zero; what does not fit 32 bits is the value that the platform's conversion gives for it.
int TruncatedToInt(double value) {
  const double whole = std::trunc(value);
  constexpr double kTwo31 = 2147483648.0;
  return whole >= -kTwo31 && whole < kTwo31 ? static_cast<int>(whole) : std::numeric_limits<int>::min();
}

template <class Char>
double Signed(double angle, Char hemisphere) {
  const bool negative = hemisphere == 'S' || hemisphere == 'W' || hemisphere == 's' || hemisphere == 'w';
  return negative ? -angle : angle;
}

double Angle(int wholeDegreesAndMinutes, double minuteFraction) {
  const int degrees = wholeDegreesAndMinutes / 100;
  const double minutes = (wholeDegreesAndMinutes - degrees * 100) + minuteFraction;
  return minutes / 60 + degrees;
}

}  // namespace

double DegreesFromNmea(std::wstring_view text, wchar_t hemisphere) {
  const std::size_t point = text.find(L'.');
  if (point == text.npos) throw std::out_of_range("invalid string position");
  const int wholeDegreesAndMinutes = TruncatedToInt(LeadingDouble(text.substr(0, point)));
  return Signed(Angle(wholeDegreesAndMinutes, LeadingDouble(text.substr(point))), hemisphere);
}

double DegreesFromNmea(std::string_view ansi, char hemisphere) {
  const auto decimal = SplitDecimal(ansi);
  if (decimal && decimal->whole <= std::uint64_t{std::numeric_limits<int>::max()}) {
    return Signed(Angle(static_cast<int>(decimal->whole), decimal->fraction), hemisphere);
  }
  std::wstring wide;
  WidenAnsi(ansi, wide);
  return DegreesFromNmea(wide, static_cast<wchar_t>(hemisphere));
}

}  // namespace kv
