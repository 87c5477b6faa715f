#include "field/DroneTimestamps.h"

#include <KVUtilities.h>

#include <algorithm>
#include <array>
#include <string>

#include "Failure.h"
#include "System.h"
#include "field/EventLog.h"
#include "field/LineReader.h"
#include "field/LineWriter.h"
#include "field/Numbers.h"
#include "field/Tokens.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFewestTokens = 14;
constexpr std::size_t kLongestLine = 1023;  // characters that the scan takes; a longer line would end it
constexpr std::size_t kNamed = 5;           // line numbers in a warning

constexpr bool IsSeparator(char c) { return c == '_' || c == '-'; }
constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

/// Without the marks of a sensor at its end, each a separator and letters: "_W", "_MS_G".
std::string_view WithoutMarks(std::string_view stem) {
  for (std::size_t at = stem.size();;) {
    while (at > 0 && IsLetter(stem[at - 1])) --at;
    if (at == stem.size() || at == 0 || !IsSeparator(stem[at - 1])) return stem;
    stem = stem.substr(0, --at);
  }
}

void CopyExposures(const fs::path& path, const fs::path& copy, DroneTimestamps& timestamps) {
  LineReader reader(path);
  LineWriter writer(copy);
  for (std::string_view line; reader.Next(line);) {
    if (++timestamps.lines == 1) line = WithoutByteOrderMark(line);
    const auto number = line.size() <= kLongestLine ? ExposureNumber(line) : std::nullopt;
    if (!number) {
      if (line.find_first_not_of(" \t") != std::string_view::npos) timestamps.skipped.push_back(timestamps.lines);
      continue;
    }
    timestamps.photoNumbers.push_back(*number);
    (writer.Text() += line) += '\n';
    writer.LineDone();
  }
  writer.Close();
}

std::vector<tagKVSystemEvent> Scan(const fs::path& copy, const std::optional<fs::path>& photos) {
  std::wstring report;  // how many have no photo, which the pairing tells by name
  if (!photos) return KVUtilities::ScanDjiTimestampFileWithoutImages(WidePath(copy), report);
  if (LibraryMisreads(*photos))
    throw Failure(Utf8(*photos) + ": a folder of numbered photos cannot have a backslash in its name");
  const std::wstring folder = WidePath(*photos);
  auto events = KVUtilities::ScanDjiTimestampFile(WidePath(copy), folder, report);
  for (auto& event : events) {
    std::wstring photo = event.PhotoPath.GetString();
    if (photo.size() > folder.size()) photo[folder.size()] = PhotoPathSeparator();
    event.PhotoPath = photo.c_str();
  }
  return events;
}

void WarnOfSkipped(const LineNumbers& skipped, Log& log) {
  if (skipped.empty()) return;
  const LineNumbers named(skipped.begin(),
                          skipped.begin() + static_cast<std::ptrdiff_t>(std::min(kNamed, skipped.size())));
  log.Warn("timestamps: {} left out, line {}{}: fewer than {} fields, or no number where one belongs",
           Counted(skipped.size(), "line"), fmt::join(named, ", "), skipped.size() > kNamed ? ", ..." : "",
           kFewestTokens);
}

}  // namespace

std::optional<std::int32_t> ExposureNumber(std::string_view line) {
  constexpr std::array<std::size_t, 4> kDecimals{1, 9, 11, 13};  // seconds of week, latitude, longitude, height
  const Tokens tokens(line, "\t, ");
  if (tokens.size() < kFewestTokens) return std::nullopt;
  std::string week(tokens[2]);
  std::erase_if(week, [](char c) { return c == '[' || c == ']'; });
  const bool areNumbers = std::all_of(kDecimals.begin(), kDecimals.end(),
                                      [&](std::size_t place) { return Decimal(tokens[place]).has_value(); });
  return areNumbers && WholeNumber<std::int32_t>(week) ? WholeNumber<std::int32_t>(tokens[0]) : std::nullopt;
}

std::optional<std::int32_t> PhotoNumber(std::string_view name) {
  const std::string_view numbered = WithoutMarks(name.substr(0, name.rfind('.')));
  std::size_t begin = numbered.size();
  while (begin > 0 && IsDigit(numbered[begin - 1])) --begin;
  if (begin > 0 && !IsSeparator(numbered[begin - 1])) return std::nullopt;
  return WholeNumber<std::int32_t>(numbered.substr(begin));
}

DroneTimestamps ReadDroneTimestamps(const fs::path& path, const std::optional<fs::path>& photos,
                                    const fs::path& scratch, Log& log) {
  DroneTimestamps timestamps;
  const fs::path copy = scratch / "timestamps";
  CopyExposures(path, copy, timestamps);
  if (timestamps.photoNumbers.empty())
    throw Failure(fmt::format("{}: no exposure in {}", Utf8(path), Counted(timestamps.lines, "line")));
  timestamps.events = Scan(copy, photos);
  if (timestamps.events.size() != timestamps.photoNumbers.size())
    throw Failure(Utf8(path) + ": the exposures could not be read back");
  WarnOfSkipped(timestamps.skipped, log);
  for (const auto& event : timestamps.events) {
    timestamps.span.Add(FromFileTime(event.TimeUTC));
    timestamps.bounds.Add(event.Latitude, event.Longitude, event.Altitude);
  }
  return timestamps;
}

}  // namespace kv::mission
