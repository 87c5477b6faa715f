#include "field/HousekeepingLog.h"

#include <KVUtilities.h>

#include <algorithm>

#include "Interrupt.h"
#include "Progress.h"
#include "System.h"
#include "field/LineReader.h"

namespace kv::mission {
namespace {

constexpr std::size_t kLongestLine = 1023;  // characters that the log scanner takes; a longer line ends its scan
constexpr std::size_t kFewestFields = 3;
constexpr char kEndOfText = '\x1A';  // Ctrl-Z ends a text file
constexpr std::size_t kNamed = 5;

std::size_t CountFields(std::string_view line) {
  std::size_t count = 0;
  bool inField = false;
  for (const char c : line) {
    count += c != ',' && !inField;
    inField = c != ',';
  }
  return count;
}

bool IsBlank(std::string_view line) { return line.find_first_not_of(" \t\r") == std::string_view::npos; }

/// Looks at the lines as the scan will.
/// @return line number of each entry
std::vector<std::size_t> LookThrough(const std::filesystem::path& path, const Log& messages, HousekeepingLog& log) {
  std::vector<std::size_t> entries;
  LineReader reader(path);
  Progress progress(messages.ShowsProgress(), "reading the log", "lines");
  for (std::string_view line; reader.Next(line); progress.Step(reader.BytesRead(), reader.FileSize())) {
    if (line.find(kEndOfText) != std::string_view::npos) break;
    if (line.size() > kLongestLine) {
      log.cutAtLine = log.lines + 1;
      break;
    }
    ++log.lines;
    if (CountFields(line) >= kFewestFields) {
      entries.push_back(log.lines);
    } else {
      log.skipped += !IsBlank(line);
    }
  }
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

void WarnOfDates(const std::vector<std::size_t>& entries, HousekeepingLog& log, Log& messages) {
  std::vector<std::size_t> named;
  for (std::size_t i = 0; i < log.events.size(); ++i) {
    if (TimeOf(log.events[i])) continue;
    if (++log.faultyDates <= kNamed && i < entries.size()) named.push_back(entries[i]);
  }
  if (log.faultyDates > 0)
    messages.Warn("log: {} without a valid date and time, line {}{}: placed as the nearest later one",
                  log.faultyDates == 1 ? "1 entry" : fmt::format("{} entries", log.faultyDates), fmt::join(named, ", "),
                  log.faultyDates > kNamed ? ", ..." : "");
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

HousekeepingLog ReadHousekeepingLog(const std::filesystem::path& path, Log& messages) {
  HousekeepingLog log;
  const auto entries = LookThrough(path, messages, log);
  ThrowIfInterrupted();
  std::wstring errors;
  log.events = KVUtilities::ScanKVLogFile(WidePath(path), errors);
  log.errors = Lines(Utf8(errors));
  if (log.cutAtLine)
    messages.Warn("log: line {} has {} characters or more: the scan ends there", *log.cutAtLine, kLongestLine + 1);
  if (log.skipped > 0) messages.Warn("log: {} skipped: fewer than three fields", Counted(log.skipped, "line"));
  WarnOfDates(entries, log, messages);
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
