#include "readers/ApplanixHeader.h"

#include <algorithm>

#include "platform/CodePage.h"
#include "readers/FieldFile.h"
#include "text/Blanks.h"
#include "time/TimeConverter.h"

namespace kv {
namespace {

// In the order of the entries.
constexpr std::array<std::wstring_view, 4> kLabels = {L"Date of Mission", L"Start Time", L"Mapping frame datum",
                                                      L"Mapping frame projection"};
constexpr std::size_t kMostEntriesOfLine = 16;

// A name or label without the blanks around it. One that is longer than any is cut, so that a line of a gigabyte is not
// widened: it is no name either way. With blanks beyond ASCII it might be one.
std::wstring NameIn(std::string_view text) {
  constexpr std::size_t kLongest = 1024;
  text = WithoutBlanks(text, " \t\n\v\f\r");
  std::wstring name;
  if (text.size() > kLongest &&
      std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
    WidenAnsi(text.substr(0, kLongest), name);
    return name;
  }
  WidenAnsi(text, name);
  return std::wstring(Trimmed(name));
}

// Gives nothing for a time that does not exist.
std::optional<ApplanixHeader::WeekStart> WeekStartOf(std::wstring_view date, std::wstring_view time) {
  ApplanixHeader::WeekStart start{-1, 0};
  const std::wstring utc = std::wstring(date) + L' ' + std::wstring(time);
  std::string narrow(utc.size(), '\0');
  narrow.resize(NarrowAnsi(utc, narrow));
  TimeConverter::UTCToGPSWeekSecs(narrow, start.week, start.secondsOfWeek);
  return start.week < 0 ? std::nullopt : std::optional(start);
}

}  // namespace

bool ApplanixHeader::Read(std::string_view line) {
  const std::wstring start = NameIn(line);
  if (start.starts_with(L"(time in Sec")) return true;
  if (!start.empty()) ReadColumns(line);
  // One line may hold several entries, separated by semicolons.
  std::array<std::string_view, kMostEntriesOfLine> entries;
  for (const std::string_view entry : Tokenise(line, Delimiters(";"), entries)) ReadEntry(entry);
  return false;
}

std::optional<ApplanixHeader::WeekStart> ApplanixHeader::Start() const {
  constexpr std::size_t kDateLength = 10, kTimeLength = 8;  // YYYY-MM-DD, hh:mm:ss: a fraction changes no week
  const std::wstring date = values_[kDate].substr(0, kDateLength);
  const auto start = WeekStartOf(date, values_[kTime].substr(0, kTimeLength));
  return start ? start : WeekStartOf(date, L"00:00:00");
}

void ApplanixHeader::ReadColumns(std::string_view line) {
  columns_.clear();
  for (std::size_t length = 0; length != std::string_view::npos && columns_.size() < kMostColumns;) {
    length = line.find(',');
    columns_.push_back(NameIn(line.substr(0, length)));
    if (length != std::string_view::npos) line.remove_prefix(length + 1);
  }
  while (!columns_.empty() && columns_.back().empty()) columns_.pop_back();  // a comma after the last name
}

// Reads "label: value". If a label occurs more than once, the first value counts.
void ApplanixHeader::ReadEntry(std::string_view text) {
  static_assert(kLabels.size() == kEntries);
  const std::size_t colon = text.find(':');
  const auto label = std::find(kLabels.begin(), kLabels.end(), NameIn(text.substr(0, colon)));
  if (colon == std::string_view::npos || label == kLabels.end()) return;
  std::wstring& value = values_[static_cast<std::size_t>(label - kLabels.begin())];
  if (!value.empty()) return;
  WidenAnsi(text.substr(colon + 1), value);
  value = std::wstring(Trimmed(value));
}

}  // namespace kv
