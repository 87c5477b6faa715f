#pragma once

#include <string_view>

namespace kv {

/// `KVUtilities::NMEA_DMtoDD` on a view.
double DegreesFromNmea(std::wstring_view text, wchar_t hemisphere);

}  // namespace kv
