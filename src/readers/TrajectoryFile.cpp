#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "platform/TextStream.h"
#include "readers/FieldFile.h"
#include "readers/Fix.h"
#include "time/FileTimes.h"

namespace {

// One tick short of a day, on purpose: a base of exactly midnight keeps its date at the first midnight, and callers
// that pass a bare date rely on this.
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
  RunningDate runningDate(date);
  kv::ColumnText units;
  std::array<std::string_view, kv::kFixTokens> tokens;
  std::vector<tagKVTrajectoryObs> fixes;
  kv::TextStream file(path);
  for (std::string_view line; file.ReadLine(line);) {
    if (kv::Tokenise(line, kv::Delimiters(","), tokens).size() < kv::kFixTokens) continue;  // any other line is a fix
    kv::MakeRoom(fixes, line, file);
    tagKVTrajectoryObs& fix = fixes.emplace_back();
    runningDate.SetTime(kv::TimeOfDayIn(tokens[1]), fix);
    kv::SetPlace(tokens, units, fix);
  }
  return fixes;
}
