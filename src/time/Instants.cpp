#include "time/Instants.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include "text/Numbers.h"

namespace kv::mission {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr sys_days kFileTimeOrigin = std::chrono::year{1601} / std::chrono::January / 1;

std::optional<sys_days> Date(int year, int month, int day) {
  const year_month_day date{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                            std::chrono::day{static_cast<unsigned>(day)}};
  if (!date.ok() || year < 1601 || year > 9999) return std::nullopt;
  return sys_days{date};
}

std::string Join(Instant time, char separator) {
  const sys_days date = floor<days>(time);
  const std::chrono::hh_mm_ss clock{floor<std::chrono::milliseconds>(time - date)};
  return fmt::format("{}{}{:02}:{:02}:{:02}.{:03}", DateText(date), separator, clock.hours().count(),
                     clock.minutes().count(), clock.seconds().count(), clock.subseconds().count());
}

}  // namespace

Instant FromFileTime(const FILETIME& time) {
  const std::int64_t ticks = KVUtilities::FiletimeToInt64(time);
  return Instant(kFileTimeOrigin) + (ticks < 0 ? FileTimeTicks::max() : FileTimeTicks(ticks));
}

FILETIME ToFileTime(Instant time) { return KVUtilities::Int64ToFiletime((time - Instant(kFileTimeOrigin)).count()); }

std::optional<Instant> FromFields(int year, int month, int day, int hour, int minute, int second) {
  const auto date = Date(year, month, day);
  const bool clockValid = hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second < 60;
  if (!date || !clockValid) return std::nullopt;
  return *date + std::chrono::hours{hour} + std::chrono::minutes{minute} + std::chrono::seconds{second};
}

SYSTEMTIME ToSystemTime(Instant time) {
  const sys_days day = floor<days>(time);
  const year_month_day date{day};
  const std::chrono::hh_mm_ss clock{floor<std::chrono::milliseconds>(time - day)};
  const auto field = [](auto value) { return static_cast<std::uint16_t>(value); };
  SYSTEMTIME fields{};
  fields.wYear = field(static_cast<int>(date.year()));
  fields.wMonth = field(static_cast<unsigned>(date.month()));
  fields.wDayOfWeek = field(std::chrono::weekday{day}.c_encoding());
  fields.wDay = field(static_cast<unsigned>(date.day()));
  fields.wHour = field(clock.hours().count());
  fields.wMinute = field(clock.minutes().count());
  fields.wSecond = field(clock.seconds().count());
  fields.wMilliseconds = field(clock.subseconds().count());
  return fields;
}

double Seconds(FileTimeTicks span) { return std::chrono::duration<double>(span).count(); }

std::string DateText(sys_days date) {
  const year_month_day fields{date};
  return fmt::format("{:04}-{:02}-{:02}", static_cast<int>(fields.year()), static_cast<unsigned>(fields.month()),
                     static_cast<unsigned>(fields.day()));
}

std::string TimeText(Instant time) { return Join(time, ' '); }

std::string IsoText(Instant time) { return Join(time, 'T') + 'Z'; }

std::optional<sys_days> ParseDate(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
  const auto year = Digits(text.substr(0, 4)), month = Digits(text.substr(5, 2)), day = Digits(text.substr(8, 2));
  if (!year || !month || !day) return std::nullopt;
  return Date(*year, *month, *day);
}

}  // namespace kv::mission
