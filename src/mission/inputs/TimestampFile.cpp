#include "mission/inputs/TimestampFile.h"

#include <KVUtilities.h>

#include <algorithm>
#include <array>
#include <string>

#include "base/Failure.h"
#include "mission/inputs/LineWriter.h"
#include "photos/PhotoFolder.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "text/Blanks.h"
#include "text/Numbers.h"
#include "text/Tokens.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFewestTokens = 14;
constexpr std::size_t kLongestLine = 1023;  // characters that the scan takes; a longer line would end it

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
  LineReader reader(path, CtrlZ::EndsText);
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

/// Of the numbers that an exposure is made of.
struct Range {
  std::size_t place;
  double least, greatest;
};
constexpr std::array<Range, 4> kRanges{{{1, 0, 604'800},    // seconds of week
                                        {9, -90, 90},       // latitude
                                        {11, -360, 360},    // longitude
                                        {13, -1e5, 1e5}}};  // height
constexpr std::size_t kWeekAt = 2;
constexpr std::int32_t kLastWeek = 417'993;  // to begin in the year 9990; layers have four digits for a year

std::vector<tagKVSystemEvent> Scan(const fs::path& copy, const std::optional<fs::path>& photos) {
  std::wstring report;  // how many have no photo, which the pairing tells by name
  if (!photos) return KVUtilities::ScanDjiTimestampFileWithoutImages(WidePath(copy), report);
  if (LibraryMisreads(*photos))
    throw Failure(Utf8(*photos) + ": a folder of numbered photos cannot have a backslash in its name");
  const std::size_t nameAt = PhotoNameAt(*photos);
  auto events = KVUtilities::ScanDjiTimestampFile(WidePath(copy), WidePath(*photos), report);
  for (auto& event : events) {
    std::wstring photo = event.PhotoPath.GetString();
    if (photo.empty()) continue;
    photo[nameAt - 1] = PhotoPathSeparator();
    event.PhotoPath = photo.c_str();
  }
  return events;
}

void WarnOfSkipped(const LineNumbers& skipped, Log& log) {
  if (skipped.empty()) return;
  log.Warn("timestamps: {} left out, {}: fewer than {} fields, no number where one belongs, or one out of range",
           Counted(skipped.size(), "line"), Named(skipped), kFewestTokens);
}

}  // namespace

std::optional<std::int32_t> ExposureNumber(std::string_view line) {
  std::array<std::string_view, kFewestTokens> tokens;
  if (Tokenise(line, Delimiters("\t, "), tokens).size() < kFewestTokens) return std::nullopt;
  std::string digits(tokens[kWeekAt]);
  std::erase_if(digits, [](char c) { return c == '[' || c == ']'; });
  const auto week = WholeInteger32(digits);
  const bool isInRange = std::all_of(kRanges.begin(), kRanges.end(), [&](const Range& range) {
    const auto value = FiniteNumber(tokens[range.place]);
    return value && *value >= range.least && *value <= range.greatest;
  });
  return isInRange && week && *week >= 0 && *week <= kLastWeek ? WholeInteger32(tokens[0]) : std::nullopt;
}

std::optional<std::int32_t> PhotoNumber(std::string_view name) {
  const std::string_view numbered = WithoutMarks(name.substr(0, name.rfind('.')));
  std::size_t begin = numbered.size();
  while (begin > 0 && IsDigit(numbered[begin - 1])) --begin;
  if (begin > 0 && !IsSeparator(numbered[begin - 1])) return std::nullopt;
  return WholeInteger32(numbered.substr(begin));
}

DroneTimestamps ReadDroneTimestamps(const fs::path& path, const std::optional<fs::path>& photos,
                                    const fs::path& scratch, Log& log) {
  RefuseUnlessRegular(path);
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
