#include "readers/Fix.h"

#include <cstdint>

#include "platform/FileTime.h"
#include "text/Numbers.h"
#include "time/Angles.h"
#include "time/FileTimes.h"
#include "time/TimeStamps.h"

namespace kv {
namespace {

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int Milliseconds(std::string_view text) {
  constexpr std::size_t kEnd = 9;
  if (text.size() >= kEnd && IsDigit(text[7]) && IsDigit(text[8])) return TwoDigits(text, 7) * 10;
  char digits[3];
  std::size_t length = Piece(text, 7, 2).copy(digits, 2);
  digits[length++] = '0';
  return LeadingInteger(std::string_view(digits, length));
}

}  // namespace

TimeOfDay TimeOfDayIn(std::string_view token) {
  return {TwoDigits(token, 0), TwoDigits(token, 2), TwoDigits(token, 4), Milliseconds(token)};
}

DayClock::DayClock(FILETIME within) : date_(SystemTimeOrZero(within)) {
  date_.wHour = date_.wMinute = date_.wSecond = date_.wMilliseconds = 0;
  isDate_ = ToFileTime(date_, midnight_);
  gpsMidnight_ = AdjGpsSeconds(midnight_);
}

void SetPlace(std::span<const std::string_view> tokens, ColumnText& units, tagKVTrajectoryObs& fix) {
  fix.AltUnit = units.Of(tokens[10]);  // first: counting the unit's owners waits for all earlier stores
  fix.Latitude = DegreesFromNmea(tokens[2], tokens[3].front());
  fix.Longitude = DegreesFromNmea(tokens[4], tokens[5].front());
  const double heightAboveGeoid = LeadingDouble(tokens[9]);
  fix.GeoidOffst = LeadingDouble(tokens[11]);
  fix.Altitude = heightAboveGeoid + fix.GeoidOffst;
}

}  // namespace kv
