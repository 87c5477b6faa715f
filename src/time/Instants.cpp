#include "time/Instants.h"

#include <fmt/format.h>

#include "text/Numbers.h"
#include "time/FileTimes.h"

namespace kv::mission {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::sys_days;
using std::chrono::year_month_day;

std::optional<sys_days> DayOf(int year, int month, int day) {
  if (month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;  // the fields below keep a byte of each
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

FILETIME ToFileTime(Instant time) {
  return FileTimeFromTicks(static_cast<std::uint64_t>((time - Instant(kFileTimeOrigin)).count()));
}

std::optional<Instant> FromFields(int year, int month, int day, int hour, int minute, int second) {
  const auto date = DayOf(year, month, day);
  const bool clockValid = hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second < 60;
  if (!date || !clockValid) return std::nullopt;
  return *date + std::chrono::hours{hour} + std::chrono::minutes{minute} + std::chrono::seconds{second};
}

SYSTEMTIME ToSystemTime(Instant time) { return SystemTimeOrZero(ToFileTime(time)); }

std::string DateText(KVMission::Date date) {
  const year_month_day fields{date};
  return fmt::format("{:04}-{:02}-{:02}", static_cast<int>(fields.year()), static_cast<unsigned>(fields.month()),
                     static_cast<unsigned>(fields.day()));
}

std::string TimeText(Instant time) { return Join(time, ' '); }

std::string IsoText(Instant time) { return Join(time, 'T') + 'Z'; }

std::optional<KVMission::Date> ParseDate(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
  const auto year = Digits(text.substr(0, 4)), month = Digits(text.substr(5, 2)), day = Digits(text.substr(8, 2));
  if (!year || !month || !day) return std::nullopt;
  return DayOf(*year, *month, *day);
}

}  // namespace kv::mission
