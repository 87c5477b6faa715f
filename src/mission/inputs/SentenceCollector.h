#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "mission/inputs/FixDates.h"
#include "mission/inputs/Inspection.h"
#include "readers/FieldFile.h"
#include "readers/LineReader.h"

namespace kv::mission {

/// Collects the fixes of one receiver log, line by line.
class SentenceCollector {
 public:
  /// @param log  whose lines are taken
  explicit SentenceCollector(const LineReader& log) : log_(log) {}

  void Take(std::string_view line);

  bool HasFix() const { return !times_.empty(); }
  Hundredths FirstTime() const { return times_.front().timeOfDay; }
  /// The first and the last fix of a stretch.
  std::pair<Instant, Instant> SpanOf(const std::vector<Stretch>& stretches, std::size_t index) const;
  /// What the log's own dated sentences say, as far as they stand among fixes.
  LogDates Dates(Hundredths longestPause) const { return DatesOf(times_, dated_, longestPause); }
  /// The date of the first fix by the last dated sentence before it: without a fix a receiver may have a wrong date.
  std::optional<Date> DateBefore() const;

  /// Takes the trajectory out, inspected. Its fixes get their times, and are put in order where they are out of it by
  /// seconds.
  /// @param stretches  the first begins at fix 0; may be empty without a fix
  Trajectory Finish(const std::vector<Stretch>& stretches, double maxGapSeconds);

  /// Position sentences of another place at the time of a fix.
  std::size_t Elsewhere() const { return elsewhere_; }

 private:
  bool TakeFix(std::string_view line);
  /// Another sentence of the latest fix's time.
  void TakeRepeated();
  void MakeRoomForFixes(std::string_view line);
  void SetPlace(tagKVTrajectoryObs& fix);
  void TakeOther();
  void TakeErrors(const FixErrors& errors);
  void TakeDate(Instant time);
  /// @param inspection  takes each fix as soon as it has its time, while it is near in memory
  /// @return            whether each fix is later than the one before
  bool SetTimes(const std::vector<Stretch>& stretches, Inspection& inspection);
  void PutInOrder();

  const LineReader& log_;
  Trajectory trajectory_;
  Sentence sentence_;
  ColumnText units_;
  std::vector<RunningTime> times_;  // of the fixes
  std::vector<int> figures_;        // of the fixes: the receiver's quality
  std::vector<DatedSentence> dated_;
  std::optional<Instant> datedBefore_;  // the last dated sentence before the first fix
  std::optional<FixErrors> errors_;     // of the last GST sentence
  std::size_t elsewhere_ = 0;
  bool hasLostFix_ = false;  // the latest position sentence is without a fix
};

}  // namespace kv::mission
