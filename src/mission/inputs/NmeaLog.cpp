#include "mission/inputs/NmeaLog.h"

#include "base/Progress.h"
#include "mission/inputs/LineWriter.h"
#include "readers/LineReader.h"
#include "text/Numbers.h"

namespace kv::mission {
namespace {

constexpr std::size_t kQualityField = 6;
constexpr std::size_t kTypesNamed = 20;  // a receiver writes fewer; binary junk can look like more

void CountType(std::string_view type, NmeaCounts& counts) {
  const auto known = counts.others.find(type);
  if (known != counts.others.end()) {
    ++known->second;
  } else {
    counts.others.emplace(type, 1);
  }
}

/// The sentence nearest to the first fix, from its side where the receiver knows the time, dates the log best.
void KeepDate(const Sentence& sentence, bool& settled, NmeaLog& log) {
  if (settled) return;
  const auto time = DatedTime(sentence);
  if (!time) return;
  log.dated = time;
  settled = log.firstFix.has_value();
}

std::string TypesText(const std::map<std::string, std::size_t, std::less<>>& types) {
  std::string text;
  std::size_t named = 0;
  for (const auto& [type, count] : types) {
    if (++named > kTypesNamed) return text + ", ...";
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", type, count);
  }
  return text;
}

/// Days from one fix to the next. A log that goes on within a day pauses for less than 23 hours, and one whose pieces
/// are out of order goes back by less than 12.
int DaysBetween(Hundredths from, Hundredths to) {
  using std::chrono::hours;
  return to - from < -hours{12} ? 1 : to - from > hours{23} ? -1 : 0;
}

/// The copy of the fixes.
class Pieces {
 public:
  explicit Pieces(std::filesystem::path copy) : copy_(std::move(copy)) {}

  /// Where the fixes of a day are appended.
  std::string& Of(int day, std::vector<int>& days) {
    if (days.empty() || days.back() != day) {
      Close();
      writer_.emplace(PieceOf(copy_, days.size()));
      days.push_back(day);
    }
    writer_->LineDone();
    return writer_->Text();
  }
  void Close() {
    if (writer_) writer_->Close();
  }

 private:
  std::filesystem::path copy_;
  std::optional<LineWriter> writer_;
};

/// Takes the lines of one log in their order.
class Triage {
 public:
  explicit Triage(Pieces& pieces) : pieces_(pieces) {}

  void Take(std::string_view line) {
    ++log.counts.lines;
    LineKind kind = Classify(line, sentence_);
    if (kind == LineKind::Fix && !TakeFix()) kind = LineKind::RepeatedTime;
    if (kind == LineKind::OtherSentence) {
      CountType(sentence_.type, log.counts);
      KeepDate(sentence_, dateSettled_, log);
    }
    ++log.counts.kinds[static_cast<std::size_t>(kind)];
  }

  NmeaLog log;

 private:
  bool TakeFix() {
    const ClockTime clock = *ParseClock(sentence_.fields[1]);
    if (lastFix_ == clock.time) return false;
    if (lastFix_) day_ += DaysBetween(*lastFix_, clock.time);
    lastFix_ = clock.time;
    if (!log.firstFix) log.firstFix = clock.time;
    log.counts.truncatedTimes += clock.truncated;
    ++log.counts.qualities[*Digits(sentence_.fields[kQualityField])];
    AppendFixLine(sentence_, clock.time, pieces_.Of(day_, log.days));
    return true;
  }

  Pieces& pieces_;
  Sentence sentence_;
  std::optional<Hundredths> lastFix_;
  int day_ = 0;
  bool dateSettled_ = false;
};

}  // namespace

std::filesystem::path PieceOf(const std::filesystem::path& copy, std::size_t number) {
  return std::filesystem::path(copy) += fmt::format("-{}", number);
}

NmeaLog CopyFixes(const std::filesystem::path& log, const std::filesystem::path& copy, const Log& messages) {
  LineReader reader(log, CtrlZ::IsText);
  Pieces pieces(copy);
  Progress progress(messages.ShowsProgress(), "reading trajectory", "lines");
  Triage triage(pieces);
  for (std::string_view line; reader.Next(line);) {
    triage.Take(line);
    progress.Step(reader.BytesRead(), reader.FileSize());
  }
  pieces.Close();
  return triage.log;
}

std::string LeftOutText(const NmeaCounts& counts) {
  std::string text;
  for (const auto& [kind, words, key] : kLeftOutKinds) {
    if (counts.Of(kind) == 0) continue;
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", counts.Of(kind), words);
    if (kind != LineKind::OtherSentence) continue;
    text += " (" + TypesText(counts.others) + ")";
  }
  return text;
}

}  // namespace kv::mission
