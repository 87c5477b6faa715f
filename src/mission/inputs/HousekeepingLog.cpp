#include "mission/inputs/HousekeepingLog.h"

#include <KVUtilities.h>

#include <algorithm>
#include <utility>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "base/LineNumbers.h"
#include "base/Progress.h"
#include "mission/inputs/LineWriter.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "text/Blanks.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongestLine = 1023;  // characters that the log scanner takes; a longer line ends its scan
constexpr std::size_t kFewestFields = 3;

std::size_t CountFields(std::string_view line) {
  std::size_t count = 0;
  bool inField = false;
  for (const char c : line) {
    count += c != ',' && !inField;
    inField = c != ',';
  }
  return count;
}

/// What the lines tell of the entries before the scan.
struct Entries {
  LineNumbers lines;
  std::vector<NumberFields> numbers;
};

/// Copies the lines that the scan takes, and looks at them as it will.
Entries CopyLines(const fs::path& path, const fs::path& copy, const Log& messages, HousekeepingLog& log) {
  Entries entries;
  LineReader reader(path, CtrlZ::EndsText);
  LineWriter writer(copy);
  Progress progress(messages.ShowsProgress(), "reading the log", "lines");
  for (std::string_view line; reader.Next(line); progress.Step(reader.BytesRead(), reader.FileSize())) {
    if (line.size() > kLongestLine) {
      log.cutAtLine = log.lines + 1;
      break;
    }
    ++log.lines;
    if (CountFields(line) >= kFewestFields) {
      entries.lines.push_back(log.lines);
      entries.numbers.push_back(FindNumbers(line));
    } else {
      log.skipped += !WithoutBlanks(line).empty();
    }
    (writer.Text() += line) += "\r\n";  // a CR before them is the line's own
    writer.LineDone();
  }
  writer.Close();
  return entries;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    std::string line = text.substr(begin, end - begin);
    line.erase(line.find_last_not_of(' ') + 1);
    lines.push_back(std::move(line));
    begin = end + 1;
  }
  return lines;
}

void WarnOfDates(const LineNumbers& lines, HousekeepingLog& log, Log& messages) {
  LineNumbers faulty;
  for (std::size_t i = 0; i < log.events.size(); ++i) {
    if (!TimeOf(log.events[i])) faulty.push_back(lines[i]);
  }
  log.faultyDates = faulty.size();
  if (!faulty.empty())
    messages.Warn("log: {} without a valid date and time, {}: placed as the nearest later one",
                  faulty.size() == 1 ? "1 entry" : fmt::format("{} entries", faulty.size()), Named(faulty));
}

void SetReadings(const Entries& entries, HousekeepingLog& log, Log& messages) {
  auto [ranges, unread] = ReadingsOf(log.events, entries.numbers);
  log.readings = std::move(ranges);
  if (!unread.empty()) WarnOfUnread("log", unread.size(), entries.lines[unread[0]], messages);
}

}  // namespace

bool IsHousekeepingLine(std::string_view line) {
  constexpr std::string_view kShape = "dddd-dd-dd dd:dd:dd";
  const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  const auto fits = [&](char shape, char c) {
    return shape == 'd' ? isDigit(c) : shape == c || (shape == ' ' && c == 'T');
  };
  if (CountFields(line) < kFewestFields || !isLetter(line[0])) return false;
  std::string_view rest = line.substr(line.find(','));
  rest.remove_prefix(rest.find_first_not_of(", "));
  return rest.size() >= kShape.size() && std::equal(kShape.begin(), kShape.end(), rest.begin(), fits);
}

HousekeepingLog ReadHousekeepingLog(const fs::path& path, const fs::path& scratch, Log& messages) {
  HousekeepingLog log;
  const fs::path copy = scratch / "log";
  const Entries entries = CopyLines(path, copy, messages, log);
  ThrowIfInterrupted();
  std::wstring errors;
  log.events = KVUtilities::ScanKVLogFile(WidePath(copy), errors);
  if (log.events.size() != entries.lines.size()) throw Failure(Utf8(copy) + ": the entries could not be read back");
  log.errors = Lines(Utf8(errors));
  if (log.cutAtLine)
    messages.Warn("log: line {} has {} characters or more: the scan ends there", *log.cutAtLine, kLongestLine + 1);
  if (log.skipped > 0) messages.Warn("log: {} skipped: fewer than three fields", Counted(log.skipped, "line"));
  WarnOfDates(entries.lines, log, messages);
  SetReadings(entries, log, messages);
  return log;
}

std::optional<Instant> TimeOf(const tagKVLogEvent& event) {
  const SYSTEMTIME& time = event.SystemTimeUTC;
  return FromFields(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond);
}

TimeSpan SpanOf(const std::vector<tagKVLogEvent>& events) {
  TimeSpan span;
  for (const auto& event : events) {
    if (const auto time = TimeOf(event)) span.Add(*time);
  }
  return span;
}

}  // namespace kv::mission
