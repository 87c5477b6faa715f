#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "time/FileTimes.h"
#include "time/TimeConverter.h"

/// Trajectory lines, for ASCII, as two plain readers read them.
namespace baseline {

/// Follows the date, with calendar calls for every fix.
class RunningDate {
 public:
  explicit RunningDate(FILETIME base) : base_(base) {}

  void SetTime(int hour, int minute, int second, int milliseconds, tagKVTrajectoryObs& fix) {
    if (previousHour_ == 23 && hour == 0) base_ = kv::AddTicks(base_, 863'999'999'999);
    previousHour_ = hour;
    fix.SystemTimeUTC = kv::SystemTimeOrZero(base_);
    fix.SystemTimeUTC.wHour = static_cast<std::uint16_t>(hour);
    fix.SystemTimeUTC.wMinute = static_cast<std::uint16_t>(minute);
    fix.SystemTimeUTC.wSecond = static_cast<std::uint16_t>(second);
    fix.SystemTimeUTC.wMilliseconds = static_cast<std::uint16_t>(milliseconds);
    fix.TimeUTC = kv::FileTimeOrZero(fix.SystemTimeUTC);
    TimeConverter::WindowsFiletimeToAdjGPSSecs(static_cast<std::int64_t>(kv::Ticks(fix.TimeUTC)), fix.AdjGpsSec);
  }

 private:
  FILETIME base_;
  int previousHour_ = -1;
};

/// @param number  degrees and minutes as one number, up to the point
inline double Angle(double number, double fraction, char hemisphere) {
  const int whole = std::fabs(number) < 2147483648.0 ? static_cast<int>(number) : std::numeric_limits<int>::min();
  const int degrees = whole / 100;
  const double angle = ((whole - degrees * 100) + fraction) / 60 + degrees;
  return std::strchr("SWsw", hemisphere) ? -angle : angle;
}

inline std::vector<std::wstring> TokensOf(const std::wstring& line) {
  std::vector<std::wstring> tokens;
  for (std::size_t begin = 0; begin <= line.size();) {
    const std::size_t end = std::min(line.find(L',', begin), line.size());
    if (end > begin) tokens.push_back(line.substr(begin, end - begin));
    begin = end + 1;
  }
  return tokens;
}

inline double ToDegrees(const std::wstring& text, wchar_t hemisphere) {
  const std::size_t point = text.find(L'.');
  if (point == std::wstring::npos) throw std::out_of_range("invalid string position");
  return Angle(std::stod(text.substr(0, point)), std::stod(text.substr(point)), static_cast<char>(hemisphere));
}

/// The rule word by word: wide lines of a stream, a string per token, numbers by `std::stod`.
inline std::vector<tagKVTrajectoryObs> ScanByWideTokens(const std::filesystem::path& path, FILETIME base) {
  std::wifstream file(path, std::ios::binary);
  std::vector<tagKVTrajectoryObs> trajectory;
  RunningDate date(base);
  for (std::wstring line; std::getline(file, line);) {
    if (line.ends_with(L'\r')) line.pop_back();
    const std::vector<std::wstring> tokens = TokensOf(line);
    if (tokens.size() < 12) continue;
    const auto number = [&](std::size_t begin, const wchar_t* tail) {
      const std::wstring piece = begin < tokens[1].size() ? tokens[1].substr(begin, 2) : std::wstring();
      return static_cast<int>(std::wcstol((piece + tail).c_str(), nullptr, 10));
    };
    tagKVTrajectoryObs fix;
    date.SetTime(number(0, L""), number(2, L""), number(4, L""), number(7, L"0"), fix);
    fix.Latitude = ToDegrees(tokens[2], tokens[3].front());
    fix.Longitude = ToDegrees(tokens[4], tokens[5].front());
    fix.GeoidOffst = std::stod(tokens[11]);
    fix.Altitude = std::stod(tokens[9]) + fix.GeoidOffst;
    fix.AltUnit = tokens[10].c_str();
    trajectory.push_back(fix);
  }
  return trajectory;
}

/// What a programmer in C would write, for files whose numbers are numbers: tokens are cut in the line itself, where
/// `std::strtod` reads them.
inline std::vector<tagKVTrajectoryObs> ScanByStrtod(const std::filesystem::path& path, FILETIME base) {
  std::ifstream file(path, std::ios::binary);
  std::vector<tagKVTrajectoryObs> trajectory;
  RunningDate date(base);
  std::array<char*, 12> tokens;
  for (std::string line; std::getline(file, line);) {
    if (line.ends_with('\r')) line.pop_back();
    std::size_t count = 0;
    for (char* at = line.data(); at && count < tokens.size();) {
      char* const comma = std::strchr(at, ',');
      if (comma) *comma = '\0';
      if (*at) tokens[count++] = at;
      at = comma ? comma + 1 : nullptr;
    }
    if (count < tokens.size()) continue;
    const std::string_view time = tokens[1];
    const auto number = [&](std::size_t begin, char tail) {
      char digits[4] = {};
      const std::size_t length = begin < time.size() ? time.copy(digits, 2, begin) : 0;
      digits[length] = tail;
      return std::atoi(digits);
    };
    const auto degrees = [](char* text, char hemisphere) {
      char* const point = std::strchr(text, '.');
      if (!point) throw std::out_of_range("no point");
      const double fraction = std::strtod(point, nullptr);
      *point = '\0';
      return Angle(std::strtod(text, nullptr), fraction, hemisphere);
    };
    tagKVTrajectoryObs fix;
    date.SetTime(number(0, '\0'), number(2, '\0'), number(4, '\0'), number(7, '0'), fix);
    fix.Latitude = degrees(tokens[2], *tokens[3]);
    fix.Longitude = degrees(tokens[4], *tokens[5]);
    fix.GeoidOffst = std::strtod(tokens[11], nullptr);
    fix.Altitude = std::strtod(tokens[9], nullptr) + fix.GeoidOffst;
    fix.AltUnit = std::wstring(tokens[10], tokens[10] + std::strlen(tokens[10])).c_str();
    trajectory.push_back(fix);
  }
  return trajectory;
}

}  // namespace baseline
