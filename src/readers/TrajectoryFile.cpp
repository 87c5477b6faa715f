#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "platform/FileTime.h"
#include "readers/FieldFile.h"
#include "text/Numbers.h"
#include "time/Angles.h"
#include "time/FileTimes.h"
#include "time/TimeConverter.h"
#include "time/TimeStamps.h"

namespace {

using Tokens = std::span<const std::string_view>;

constexpr std::size_t kFixTokens = 12;
// One tick short of a day, on purpose: a base of exactly midnight stays on its date at the first midnight it meets, and
// callers that pass a bare date rely on it.
constexpr std::int64_t kTicksToNextDate = 863'999'999'999;

struct TimeOfDay {
  int hour, minute, second, milliseconds;
};

// Two decimals of the second become milliseconds: ".45" is 450, and ".5", odd as it is, 50.
int Milliseconds(std::string_view text) {
  char digits[3];
  std::size_t length = kv::Piece(text, 7, 2).copy(digits, 2);
  digits[length++] = '0';
  return kv::LeadingInteger(std::string_view(digits, length));
}

TimeOfDay ReadTimeOfDay(std::string_view text) {
  return {kv::TwoDigits(text, 0), kv::TwoDigits(text, 2), kv::TwoDigits(text, 4), Milliseconds(text)};
}

// Follows the date of a file whose lines carry only a time of day. Calendar and leap seconds are asked once for a date.
class RunningDate {
 public:
  explicit RunningDate(FILETIME base) { MoveTo(base); }

  void SetTime(const TimeOfDay& time, tagKVTrajectoryObs& fix) {
    if (previousHour_ == 23 && time.hour == 0) MoveTo(kv::AddTicks(base_, kTicksToNextDate));
    previousHour_ = time.hour;
    const auto field = [](int value) { return static_cast<std::uint16_t>(value); };
    SYSTEMTIME& calendar = fix.SystemTimeUTC = date_;
    calendar.wHour = field(time.hour);
    calendar.wMinute = field(time.minute);
    calendar.wSecond = field(time.second);
    calendar.wMilliseconds = field(time.milliseconds);
    const bool isTimeOfDay =
        calendar.wHour < 24 && calendar.wMinute < 60 && calendar.wSecond < 60 && calendar.wMilliseconds < 1000;
    if (isTimeOfDay && isDate_) {
      const int seconds = (calendar.wHour * 60 + calendar.wMinute) * 60 + calendar.wSecond;
      fix.TimeUTC =
          kv::AddTicks(midnight_, seconds * kv::kTicksPerSecond + calendar.wMilliseconds * kTicksPerMillisecond);
      // A leap second comes at midnight, so a day's seconds are those of GPS.
      fix.AdjGpsSec = gpsMidnight_ + seconds + calendar.wMilliseconds / 1000.0;
    } else {
      fix.TimeUTC = FILETIME{};
      fix.AdjGpsSec = kv::AdjGpsSeconds(fix.TimeUTC);
    }
  }

 private:
  static constexpr std::int64_t kTicksPerMillisecond = kv::kTicksPerSecond / 1000;

  void MoveTo(FILETIME base) {
    base_ = base;
    date_ = kv::SystemTimeOrZero(base);
    date_.wHour = date_.wMinute = date_.wSecond = date_.wMilliseconds = 0;
    midnight_ = {};
    isDate_ = kv::ToFileTime(date_, midnight_);
    gpsMidnight_ = kv::AdjGpsSeconds(midnight_);
  }

  FILETIME base_;
  SYSTEMTIME date_;  // at midnight
  bool isDate_;
  FILETIME midnight_;
  double gpsMidnight_;  // adjusted GPS seconds, a whole number
  int previousHour_ = -1;
};

}  // namespace

std::vector<tagKVTrajectoryObs> KVUtilities::ScanKVTrajectoryFile(std::wstring path, FILETIME date,
                                                                  std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  RunningDate runningDate(date);
  kv::ColumnText units;
  // The sentence identifier is not looked at: any line of enough tokens is a fix.
  const auto readFix = [&](Tokens tokens, tagKVTrajectoryObs& fix) {
    runningDate.SetTime(ReadTimeOfDay(tokens[1]), fix);
    fix.Latitude = kv::DegreesFromNmea(tokens[2], tokens[3].front());
    fix.Longitude = kv::DegreesFromNmea(tokens[4], tokens[5].front());
    const double heightAboveGeoid = kv::LeadingDouble(tokens[9]);
    fix.GeoidOffst = kv::LeadingDouble(tokens[11]);
    fix.Altitude = heightAboveGeoid + fix.GeoidOffst;
    fix.AltUnit = units.Of(tokens[10]);
  };
  return kv::ReadRecords<tagKVTrajectoryObs, kFixTokens>(path, kv::Delimiters(","), readFix);
}
