#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "conversions/Angles.h"
#include "conversions/FileTimes.h"
#include "conversions/Numbers.h"
#include "conversions/TimeConverter.h"
#include "conversions/TimeStamps.h"
#include "scanners/FieldFile.h"

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

// Follows the date of a file whose lines carry only a time of day. The calendar is asked once for a date.
class RunningDate {
 public:
  explicit RunningDate(FILETIME base) { MoveTo(base); }

  void SetTime(const TimeOfDay& time, tagKVTrajectoryObs& fix) {
    if (previousHour_ == 23 && time.hour == 0) MoveTo(kv::AddTicks(base_, kTicksToNextDate));
    previousHour_ = time.hour;
    const auto field = [](int value) { return static_cast<std::uint16_t>(value); };
    fix.SystemTimeUTC = date_;
    fix.SystemTimeUTC.wHour = field(time.hour);
    fix.SystemTimeUTC.wMinute = field(time.minute);
    fix.SystemTimeUTC.wSecond = field(time.second);
    fix.SystemTimeUTC.wMilliseconds = field(time.milliseconds);
    fix.TimeUTC = FileTimeOf(fix.SystemTimeUTC);
  }

 private:
  void MoveTo(FILETIME base) {
    base_ = base;
    date_ = kv::SystemTimeOrZero(base);
    date_.wHour = date_.wMinute = date_.wSecond = date_.wMilliseconds = 0;
    midnight_ = kv::FileTimeOrZero(date_);
  }

  // Zero for what is no calendar time.
  FILETIME FileTimeOf(const SYSTEMTIME& time) const {
    const bool isTimeOfDay = time.wHour < 24 && time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
    if (!isTimeOfDay || kv::Ticks(midnight_) == 0) return kv::FileTimeOrZero(time);
    const std::int64_t milliseconds =
        ((time.wHour * 60 + time.wMinute) * 60 + time.wSecond) * 1000 + time.wMilliseconds;
    return kv::AddTicks(midnight_, milliseconds * (kv::kTicksPerSecond / 1000));
  }

  FILETIME base_;
  SYSTEMTIME date_;
  FILETIME midnight_;  // of the date; zero when it has none, or is that of 1601-01-01
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
  const auto readFix = [&](Tokens tokens) {
    std::optional<tagKVTrajectoryObs> fix;
    if (tokens.size() < kFixTokens) return fix;
    fix.emplace();
    runningDate.SetTime(ReadTimeOfDay(tokens[1]), *fix);
    fix->AdjGpsSec = kv::AdjGpsSeconds(fix->TimeUTC);
    fix->Latitude = kv::DegreesFromNmea(tokens[2], tokens[3].front());
    fix->Longitude = kv::DegreesFromNmea(tokens[4], tokens[5].front());
    const double heightAboveGeoid = kv::LeadingDouble(tokens[9]);
    fix->GeoidOffst = kv::LeadingDouble(tokens[11]);
    fix->Altitude = heightAboveGeoid + fix->GeoidOffst;
    fix->AltUnit = units.Of(tokens[10]);
    return fix;
  };
  return kv::ReadRecords<tagKVTrajectoryObs, kFixTokens>(path, kv::Delimiters(","), readFix);
}
