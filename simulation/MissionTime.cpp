#include "simulation/MissionTime.h"

#include <array>
#include <charconv>

#include <fmt/chrono.h>

namespace kv::simulation {
namespace {

using namespace std::chrono;

constexpr std::string_view kDefaultDate = "2025-06-18";

struct LeapStep {
  sys_days since;
  seconds gpsMinusUtc;
};

/// From IERS Bulletin C; no leap second has been announced since the last row.
constexpr auto kLeapSteps = std::to_array<LeapStep>({
    {2000y / January / 1, 13s},
    {2006y / January / 1, 14s},
    {2009y / January / 1, 15s},
    {2012y / July / 1, 16s},
    {2015y / July / 1, 17s},
    {2017y / January / 1, 18s},
});

bool Matches(std::string_view text, std::string_view pattern) {
  if (text.size() != pattern.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (pattern[i] == '0' ? !digit : text[i] != pattern[i]) return false;
  }
  return true;
}

/// Reads digits; `Matches` has made sure that they are there.
int Number(std::string_view text, std::size_t position, std::size_t length) {
  int value = 0;
  std::from_chars(text.data() + position, text.data() + position + length, value);
  return value;
}

}  // namespace

/// Not by the C library, which on Windows knows no time before 1970.
std::tm Calendar(UtcTime time) {
  const auto date = floor<days>(time);
  const year_month_day calendar(date);
  const hh_mm_ss clock(floor<seconds>(time - date));
  std::tm parts{};
  parts.tm_year = static_cast<int>(calendar.year()) - 1900;
  parts.tm_mon = static_cast<int>(static_cast<unsigned>(calendar.month())) - 1;
  parts.tm_mday = static_cast<int>(static_cast<unsigned>(calendar.day()));
  parts.tm_hour = static_cast<int>(clock.hours().count());
  parts.tm_min = static_cast<int>(clock.minutes().count());
  parts.tm_sec = static_cast<int>(clock.seconds().count());
  return parts;
}

int Microsecond(UtcTime time) { return static_cast<int>((time - floor<seconds>(time)).count()); }

std::optional<sys_seconds> ParseStart(std::string_view text) {
  std::string full(text);
  if (full.find('-') == std::string::npos) full = fmt::format("{} {}", kDefaultDate, full);
  if (full.size() == 16) full += ":00";
  if (full.size() > 10 && full[10] == 'T') full[10] = ' ';
  if (!Matches(full, "0000-00-00 00:00:00")) return {};

  const year_month_day date(year(Number(full, 0, 4)), month(static_cast<unsigned>(Number(full, 5, 2))),
                            day(static_cast<unsigned>(Number(full, 8, 2))));
  const int hour = Number(full, 11, 2), minute = Number(full, 14, 2), second = Number(full, 17, 2);
  if (!date.ok() || date.year() < 2000y || date.year() > year(kLastYear)) return {};
  if (hour > 23 || minute > 59 || second > 59) return {};
  return sys_days(date) + hours(hour) + minutes(minute) + seconds(second);
}

seconds LeapSeconds(UtcTime time) {
  seconds offset = kLeapSteps.front().gpsMinusUtc;
  for (const LeapStep& step : kLeapSteps) {
    if (time >= step.since) offset = step.gpsMinusUtc;
  }
  return offset;
}

microseconds GpsTime(UtcTime time) {
  constexpr sys_days gpsEpoch = 1980y / January / 6;
  return time - gpsEpoch + LeapSeconds(time);
}

std::string SecondsText(microseconds time) {
  const auto magnitude = abs(time).count();
  return fmt::format("{}{}.{:06}", time < 0us ? "-" : "", magnitude / 1'000'000, magnitude % 1'000'000);
}

}  // namespace kv::simulation
