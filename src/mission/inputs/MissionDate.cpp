#include "mission/inputs/MissionDate.h"

#include <vector>

namespace kv::mission {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::sys_days;

}  // namespace

sys_days DateNearest(Instant instant, Hundredths timeOfDay) {
  // Half a day later the day that began last is the nearest one.
  return std::chrono::floor<days>(instant - timeOfDay + hours{12});
}

std::optional<MissionDate> ChooseDate(const DateSources& sources, Hundredths firstFix, Log& log) {
  std::vector<MissionDate> dates;
  if (sources.given) dates.push_back({*sources.given, "option"});
  if (sources.heartbeat) dates.push_back({DateNearest(*sources.heartbeat, firstFix), "heartbeat"});
  if (sources.sentence) dates.push_back({DateNearest(*sources.sentence, firstFix), "sentence"});
  if (dates.empty()) return std::nullopt;
  for (const MissionDate& other : dates) {
    if (other.date != dates[0].date)
      log.Warn("the trajectory is taken to start on {} ({}), but the {} says {}", DateText(dates[0].date),
               dates[0].source, other.source, DateText(other.date));
  }
  return dates[0];
}

FILETIME NoonOf(sys_days date) { return ToFileTime(date + hours{12}); }

}  // namespace kv::mission
