#pragma once

#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

/// Calendar and GPS time, written without the library's own, which simulated missions are there to test.
namespace kv::simulation {

using UtcTime = std::chrono::sys_time<std::chrono::microseconds>;

/// Returns the fields of a UTC time for fmt's "%Y-%m-%d" and so on; the fraction of the second is cut off.
std::tm Calendar(UtcTime time);

/// Returns the fraction of the second in microseconds.
int Microsecond(UtcTime time);

inline double ToSeconds(std::chrono::microseconds time) { return static_cast<double>(time.count()) * 1e-6; }

/// Sentences have two digits for the year; 80 and above mean 1980 and later.
inline constexpr int kLastYear = 2079;

/// Reads "YYYY-MM-DD hh:mm:ss", or with a "T" between, in the years 2000-2079. The seconds may be omitted, and so may
/// the date, which is then 2025-06-18.
std::optional<std::chrono::sys_seconds> ParseStart(std::string_view text);

/// Returns GPS minus UTC.
std::chrono::seconds LeapSeconds(UtcTime time);

/// Returns GPS time since 1980-01-06.
std::chrono::microseconds GpsTime(UtcTime time);

/// Formats seconds with six decimals.
std::string SecondsText(std::chrono::microseconds time);

}  // namespace kv::simulation
