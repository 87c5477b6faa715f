#include "export/FieldText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "platform/CodePage.h"
#include "time/FileTimes.h"

namespace kv {
namespace {

constexpr auto kPowersOfTen =
    std::to_array<std::uint32_t>({1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000});

// |value| * 10^decimals rounded to a whole number, if one multiplication settles it. Rounding is monotonic, so a
// product off the middle between two whole numbers is on its true side; one on the middle may come from either side.
std::optional<std::uint64_t> RoundedUnits(double value, int decimals) {
  constexpr double kLastMiddle = 0x1p52;  // above, a double has no halves
  if (static_cast<std::size_t>(decimals) >= kPowersOfTen.size()) return {};
  const double product = std::abs(value) * kPowersOfTen[static_cast<std::size_t>(decimals)];
  if (!(product < kLastMiddle)) return {};  // NaN, too
  const auto units = static_cast<std::uint64_t>(product);
  const double part = product - static_cast<double>(units);
  if (part == 0.5) return {};
  return units + (part > 0.5);
}

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
  const std::uint64_t unitsPerOne = kPowersOfTen[static_cast<std::size_t>(decimals)];
  char text[2 * std::numeric_limits<std::uint64_t>::digits10];
  text[0] = '-';
  char* point = std::to_chars(text + 1, std::end(text), *units / unitsPerOne).ptr;
  // Writes the decimals with a leading one, which keeps their zeros and reserves the place of the point.
  const char* end = std::to_chars(point, std::end(text), unitsPerOne + *units % unitsPerOne).ptr;
  *point = '.';
  PutRightAligned(field, {std::signbit(value) ? text : text + 1, decimals > 0 ? end : point});
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
  char text[std::numeric_limits<std::uint64_t>::digits10 + 1];
  const auto count = static_cast<std::size_t>(std::to_chars(text, std::end(text), number).ptr - text);
  while (digits-- > count) Append('0');
  std::copy_n(text, count, characters_.begin() + static_cast<std::ptrdiff_t>(length_));
  length_ += count;
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
