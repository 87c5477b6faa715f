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

using Tokens = std::span<const std::wstring_view>;

constexpr std::size_t kFixTokens = 12;
// One tick short of a day, on purpose: a base of exactly midnight stays on its date at the first midnight it meets, and
// callers that pass a bare date rely on it.
constexpr std::int64_t kTicksToNextDate = 863'999'999'999;

// Follows the date of a file whose lines carry only a time of day.
class RunningDate {
 public:
  explicit RunningDate(FILETIME base) { MoveTo(base); }

  SYSTEMTIME At(int hour) {
    if (previousHour_ == 23 && hour == 0) MoveTo(kv::AddTicks(base_, kTicksToNextDate));
    previousHour_ = hour;
    return date_;
  }

 private:
  void MoveTo(FILETIME base) {
    base_ = base;
    date_ = kv::SystemTimeOrZero(base);
  }

  FILETIME base_;
  SYSTEMTIME date_;
  int previousHour_ = -1;
};

// Two decimals of the second become milliseconds: ".45" is 450, and ".5", odd as it is, 50.
int Milliseconds(std::wstring_view timeOfDay) {
  wchar_t digits[3];
  std::size_t length = kv::Piece(timeOfDay, 7, 2).copy(digits, 2);
  digits[length++] = L'0';
  return kv::LeadingInteger({digits, length});
}

SYSTEMTIME TimeOfFix(std::wstring_view timeOfDay, RunningDate& date) {
  const auto field = [](int value) { return static_cast<std::uint16_t>(value); };
  const int hour = kv::TwoDigits(timeOfDay, 0);
  SYSTEMTIME time = date.At(hour);
  time.wHour = field(hour);
  time.wMinute = field(kv::TwoDigits(timeOfDay, 2));
  time.wSecond = field(kv::TwoDigits(timeOfDay, 4));
  time.wMilliseconds = field(Milliseconds(timeOfDay));
  return time;
}

}  // namespace

std::vector<tagKVTrajectoryObs> KVUtilities::ScanKVTrajectoryFile(std::wstring path, FILETIME date,
                                                                  std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  std::vector<tagKVTrajectoryObs> trajectory;
  RunningDate runningDate(date);
  kv::ForEachLine<kFixTokens>(path, kv::Delimiters(","), [&](Tokens tokens) {
    // The sentence identifier is not looked at: any line of enough tokens is a fix.
    if (tokens.size() < kFixTokens) return;
    tagKVTrajectoryObs fix;
    fix.SystemTimeUTC = TimeOfFix(tokens[1], runningDate);
    fix.TimeUTC = kv::FileTimeOrZero(fix.SystemTimeUTC);
    fix.AdjGpsSec = kv::AdjGpsSeconds(fix.TimeUTC);
    fix.Latitude = kv::DegreesFromNmea(tokens[2], tokens[3].front());
    fix.Longitude = kv::DegreesFromNmea(tokens[4], tokens[5].front());
    const double heightAboveGeoid = kv::LeadingDouble(tokens[9]);
    fix.GeoidOffst = kv::LeadingDouble(tokens[11]);
    fix.Altitude = heightAboveGeoid + fix.GeoidOffst;
    fix.AltUnit = kv::FieldText(tokens[10], trajectory.empty() ? CStringW() : trajectory.back().AltUnit);
    trajectory.push_back(std::move(fix));
  });
  return trajectory;
}
