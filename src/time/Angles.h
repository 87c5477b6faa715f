#pragma once

#include <string_view>

namespace kv {

/// `KVUtilities::NMEA_DMtoDD` for a view of wide text or of bytes in the ANSI code page.
double DegreesFromNmea(std::wstring_view text, wchar_t hemisphere);
double DegreesFromNmea(std::string_view ansi, char hemisphere);

/// The same of numbers that were read already.
/// @param wholeDegreesAndMinutes  dddmm
double DegreesFromNmea(int wholeDegreesAndMinutes, double minuteFraction, char hemisphere);

}  // namespace kv
