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

bool ApplanixHeader::Read(std::wstring_view line) {
  if (WithoutLeadingBlanks(line).starts_with(L"(time in Sec")) return true;
  if (!Trimmed(line).empty()) columns_ = line;
  // One line may hold several entries, separated by semicolons.
  std::array<std::wstring_view, kMostEntriesOfLine> entries;
  for (const std::wstring_view entry : Tokenise(line, Delimiters(";"), entries)) ReadEntry(entry);
  return false;
}

std::optional<ApplanixHeader::WeekStart> ApplanixHeader::Start() const {
  constexpr std::size_t kDateLength = 10, kTimeLength = 8;  // YYYY-MM-DD, hh:mm:ss: a fraction changes no week
  const std::wstring date = values_[kDate].substr(0, kDateLength);
  const auto start = WeekStartOf(date, values_[kTime].substr(0, kTimeLength));
  return start ? start : WeekStartOf(date, L"00:00:00");
}

std::vector<std::wstring_view> ApplanixHeader::Columns() const {
  std::vector<std::wstring_view> columns;
  std::wstring_view rest = columns_;
  for (std::size_t length = 0; length != std::wstring_view::npos && columns.size() < kMostColumns;) {
    length = rest.find(L',');
    columns.push_back(Trimmed(rest.substr(0, length)));
    if (length != std::wstring_view::npos) rest.remove_prefix(length + 1);
  }
  while (!columns.empty() && columns.back().empty()) columns.pop_back();  // a comma after the last name
  return columns;
}

// Reads "label: value". If a label occurs more than once, the first value counts.
void ApplanixHeader::ReadEntry(std::wstring_view text) {
  static_assert(kLabels.size() == kEntries);
  const std::size_t colon = text.find(L':');
  const auto label = std::find(kLabels.begin(), kLabels.end(), Trimmed(text.substr(0, colon)));
  if (colon == std::wstring_view::npos || label == kLabels.end()) return;
  std::wstring& value = values_[static_cast<std::size_t>(label - kLabels.begin())];
  if (value.empty()) value = Trimmed(text.substr(colon + 1));
}

}  // namespace kv
