#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "readers/FieldFile.h"
#include "readers/Fix.h"
#include "time/FileTimes.h"
#include "time/TimeConverter.h"

namespace {

// One tick short of a day, on purpose: a base of exactly midnight stays on its date at the first midnight it meets, and
// callers that pass a bare date rely on it.
constexpr std::int64_t kTicksToNextDate = 863'999'999'999;

// Follows the date of a file whose lines carry only a time of day.
class RunningDate {
 public:
  explicit RunningDate(FILETIME base) : base_(base), day_(base) {}

  void SetTime(const kv::TimeOfDay& time, tagKVTrajectoryObs& fix) {
    if (previousHour_ == 23 && time.hour == 0) {
      base_ = kv::AddTicks(base_, kTicksToNextDate);
      day_ = kv::DayClock(base_);
    }
    previousHour_ = time.hour;
    day_.SetTime(time, fix);
  }

 private:
  FILETIME base_;
  kv::DayClock day_;
  int previousHour_ = -1;
};

}  // namespace

std::vector<tagKVTrajectoryObs> KVUtilities::ScanKVTrajectoryFile(std::wstring path, FILETIME date,
                                                                  std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  RunningDate runningDate(date);
  kv::ColumnText units;
  // Any line of enough tokens is a fix.
  const auto readFix = [&](std::span<const std::string_view> tokens, tagKVTrajectoryObs& fix) {
    runningDate.SetTime(kv::TimeOfDayIn(tokens[1]), fix);
    kv::SetPlace(tokens, units, fix);
  };
  return kv::ReadRecords<tagKVTrajectoryObs, kv::kFixTokens>(path, kv::Delimiters(","), readFix);
}
