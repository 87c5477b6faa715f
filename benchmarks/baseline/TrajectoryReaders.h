#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "KVUtilities.h"
#include "conversions/FileTimes.h"
#include "conversions/TimeConverter.h"

/// The rule of trajectory lines word by word, for ASCII, in narrow or wide strings: a stream's lines, a string per token,
/// the C library's number parsers.
namespace baseline {

template <class String>
std::vector<String> TokensOf(const String& line) {
  std::vector<String> tokens;
  for (std::size_t begin = 0; begin <= line.size();) {
    const std::size_t end = std::min(line.find(typename String::value_type(','), begin), line.size());
    if (end > begin) tokens.push_back(line.substr(begin, end - begin));
    begin = end + 1;
  }
  return tokens;
}

// What only differs by the kind of character.
inline double ToDouble(const std::string& text) { return std::strtod(text.c_str(), nullptr); }
inline double ToDouble(const std::wstring& text) { return std::stod(text); }
inline int ToInteger(const std::string& text) { return std::atoi(text.c_str()); }
inline int ToInteger(const std::wstring& text) { return static_cast<int>(std::wcstol(text.c_str(), nullptr, 10)); }
inline CStringW ToText(const std::string& text) { return std::wstring(text.begin(), text.end()).c_str(); }
inline CStringW ToText(const std::wstring& text) { return text.c_str(); }

template <class String>
double ToDegrees(const String& text, typename String::value_type hemisphere) {
  const std::size_t point = text.find(typename String::value_type('.'));
  if (point == String::npos) throw std::out_of_range("invalid string position");
  const double number = ToDouble(text.substr(0, point));
  const int whole = std::fabs(number) < 2147483648.0 ? static_cast<int>(number) : std::numeric_limits<int>::min();
  const double fraction = ToDouble(text.substr(point));
  const int degrees = whole / 100;
  const double angle = ((whole - degrees * 100) + fraction) / 60 + degrees;
  return std::strchr("SWsw", static_cast<char>(hemisphere)) ? -angle : angle;
}

template <class String>
std::vector<tagKVTrajectoryObs> ScanTrajectory(const std::filesystem::path& path, FILETIME base) {
  using Char = typename String::value_type;
  std::basic_ifstream<Char> file(path, std::ios::binary);
  std::vector<tagKVTrajectoryObs> trajectory;
  int previousHour = -1;
  for (String line; std::getline(file, line);) {
    if (line.ends_with(Char('\r'))) line.pop_back();
    const std::vector<String> tokens = TokensOf(line);
    if (tokens.size() < 12) continue;
    const auto piece = [&](std::size_t begin) {
      return begin < tokens[1].size() ? tokens[1].substr(begin, 2) : String();
    };
    const int hour = ToInteger(piece(0));
    if (previousHour == 23 && hour == 0) base = kv::AddTicks(base, 863'999'999'999);
    previousHour = hour;
    tagKVTrajectoryObs fix;
    fix.SystemTimeUTC = kv::SystemTimeOrZero(base);
    fix.SystemTimeUTC.wHour = static_cast<std::uint16_t>(hour);
    fix.SystemTimeUTC.wMinute = static_cast<std::uint16_t>(ToInteger(piece(2)));
    fix.SystemTimeUTC.wSecond = static_cast<std::uint16_t>(ToInteger(piece(4)));
    const String milliseconds = piece(7) + Char('0');
    fix.SystemTimeUTC.wMilliseconds = static_cast<std::uint16_t>(ToInteger(milliseconds));
    fix.TimeUTC = kv::FileTimeOrZero(fix.SystemTimeUTC);
    TimeConverter::WindowsFiletimeToAdjGPSSecs(static_cast<std::int64_t>(kv::Ticks(fix.TimeUTC)), fix.AdjGpsSec);
    fix.Latitude = ToDegrees(tokens[2], tokens[3].front());
    fix.Longitude = ToDegrees(tokens[4], tokens[5].front());
    fix.GeoidOffst = ToDouble(tokens[11]);
    fix.Altitude = ToDouble(tokens[9]) + fix.GeoidOffst;
    fix.AltUnit = ToText(tokens[10]);
    trajectory.push_back(fix);
  }
  return trajectory;
}

}  // namespace baseline
