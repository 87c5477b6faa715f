#include "conversions/Angles.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "KVUtilities.h"
#include "conversions/Numbers.h"

namespace kv {
namespace {

// Truncated toward zero; what does not fit 32 bits is the value that the platform's conversion gives for it.
int TruncatedToInt(double value) {
  const double whole = std::trunc(value);
  constexpr double kTwo31 = 2147483648.0;
  return whole >= -kTwo31 && whole < kTwo31 ? static_cast<int>(whole) : std::numeric_limits<int>::min();
}

}  // namespace

double DegreesFromNmea(std::wstring_view text, wchar_t hemisphere) {
  const std::size_t point = text.find(L'.');
  if (point == std::wstring_view::npos) throw std::out_of_range("invalid string position");
  const int wholeDegreesAndMinutes = TruncatedToInt(LeadingDouble(text.substr(0, point)));
  const double minuteFraction = LeadingDouble(text.substr(point));
  const int degrees = wholeDegreesAndMinutes / 100;
  const double minutes = (wholeDegreesAndMinutes - degrees * 100) + minuteFraction;
  const double angle = minutes / 60 + degrees;
  const bool negative = hemisphere == L'S' || hemisphere == L'W' || hemisphere == L's' || hemisphere == L'w';
  return negative ? -angle : angle;
}

}  // namespace kv

double KVUtilities::NMEA_DMtoDD(std::wstring text, wchar_t hemisphere) { return kv::DegreesFromNmea(text, hemisphere); }
