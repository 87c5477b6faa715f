#pragma once

#include <string_view>

namespace kv {

/// `KVUtilities::NMEA_DMtoDD` for a view of wide text or of bytes in the ANSI code page.
double DegreesFromNmea(std::wstring_view text, wchar_t hemisphere);
double DegreesFromNmea(std::string_view ansi, char hemisphere);

/// The same of numbers that were read already.
/// @param wholeDegreesAndMinutes  dddmm
template <class Char>
constexpr double DegreesFromNmea(int wholeDegreesAndMinutes, double minuteFraction, Char hemisphere) {
  const int degrees = wholeDegreesAndMinutes / 100;
  const double minutes = (wholeDegreesAndMinutes - degrees * 100) + minuteFraction;
  const double angle = minutes / 60 + degrees;
  const bool isNegative = hemisphere == 'S' || hemisphere == 'W' || hemisphere == 's' || hemisphere == 'w';
  return isNegative ? -angle : angle;
}

}  // namespace kv
