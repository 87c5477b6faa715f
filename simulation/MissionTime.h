#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

/// Calendar and GPS time of the simulation, kept apart from the library's own, which the mission shall put to the test.
namespace kv::simulation {

using UtcTime = std::chrono::sys_time<std::chrono::microseconds>;

/// Fields of a UTC time, as whole numbers for formatting.
struct CivilTime {
  int year, month, day, hour, minute, second, microsecond;
};
CivilTime ToCivil(UtcTime time);

/// Later dates in sentences, which have two digits for the year, are read as those of 1980 and on.
inline constexpr int kLastYear = 2079;

/// Reads "YYYY-MM-DD hh:mm:ss", or with a "T" between, of the years 2000-2079. The seconds may be left out, and so may
/// the date, which is then the default mission's.
std::optional<std::chrono::sys_seconds> ParseStart(std::string_view text);

/// GPS minus UTC.
std::chrono::seconds LeapSeconds(UtcTime time);

/// GPS time since 1980-01-06 minus 1,000,000,000 s.
std::chrono::microseconds AdjustedGpsTime(UtcTime time);

/// Seconds with six decimals.
std::string SecondsText(std::chrono::microseconds time);

}  // namespace kv::simulation
