#include "export/FieldText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "platform/CodePage.h"
#include "text/Decimals.h"
#include "time/FileTimes.h"

namespace kv {
namespace {

void PutRightAligned(Field field, std::string_view text) {
  const std::string_view kept = text.substr(0, field.size());
  const auto begin = std::fill_n(field.begin(), field.size() - kept.size(), ' ');
  std::copy(kept.begin(), kept.end(), begin);
}

void PutAnyDecimal(Field field, double value, int decimals) {
  // Holds every finite double with sign, point and the at most 254 decimals of a column.
  char text[std::numeric_limits<double>::max_exponent10 + 1 + 2 + 254];
  PutRightAligned(field, {text, std::to_chars(text, std::end(text), value, std::chars_format::fixed, decimals).ptr});
}

}  // namespace

void PutDecimal(Field field, double value, int decimals) {
  const std::optional<std::uint64_t> units = RoundedUnits(value, decimals);
  if (!units) return PutAnyDecimal(field, value, decimals);
  char text[kLongestDecimal], *const end = std::end(text);
  PutRightAligned(field, {PutUnits(*units, decimals, std::signbit(value), end), end});
}

void PutInteger(Field field, int value) {
  char text[std::numeric_limits<int>::digits10 + 2];
  PutRightAligned(field, {text, std::to_chars(text, std::end(text), value).ptr});
}

void PutText(Field field, std::string_view text) {
  const std::string_view kept = text.substr(0, field.size());
  std::fill(std::copy(kept.begin(), kept.end(), field.begin()), field.end(), ' ');
}

void PutText(Field field, std::wstring_view text) {
  const std::size_t written = NarrowAnsi(text, field);
  std::fill(field.begin() + static_cast<std::ptrdiff_t>(written), field.end(), ' ');
}

void ShortText::Append(std::uint64_t number, std::size_t digits) {
  if (digits == 2 && number < 100) {  // most fields of a time
    Append(kDigitPairs[2 * number]);
    return Append(kDigitPairs[2 * number + 1]);
  }
  char text[std::numeric_limits<std::uint64_t>::digits10 + 1], *const end = std::end(text);
  const char* const begin = PutNumber(number, static_cast<int>(digits), end);
  std::copy(begin, static_cast<const char*>(end), characters_.begin() + static_cast<std::ptrdiff_t>(length_));
  length_ += static_cast<std::size_t>(end - begin);
}

ShortText WholeSecondsText(const SYSTEMTIME& time) {
  const struct {
    std::uint16_t number;
    char before;
  } rest[] = {{time.wMonth, '-'}, {time.wDay, '-'}, {time.wHour, ' '}, {time.wMinute, ':'}, {time.wSecond, ':'}};
  ShortText text;
  text.Append(time.wYear, 1);
  for (const auto& [number, before] : rest) {
    text.Append(before);
    text.Append(number, 2);
  }
  return text;
}

ShortText TimeText(const FILETIME& time) {
  const SYSTEMTIME calendar = SystemTimeOrZero(time);
  ShortText text = WholeSecondsText(calendar);
  text.Append('.');
  text.Append(calendar.wMilliseconds, 3);
  return text;
}

ShortText TickText(const FILETIME& time) {
  ShortText text;
  text.Append(Ticks(time), 1);
  return text;
}

}  // namespace kv
