#include "export/FieldText.h"

#include <charconv>
#include <cstring>
#include <limits>

#include "platform/CodePage.h"
#include "platform/FileTime.h"
#include "time/FileTimes.h"

namespace kv {
namespace {

/// @param least  digits; zeros fill up
/// @return       the end of the text
char* AppendNumber(char* text, std::uint64_t number, int least) {
  const int count = std::max(least, DigitCount(number));
  PutLastDigits(number, count, text + count);
  return text + count;
}

char* AppendPair(char* text, std::size_t number) {
  if (number >= 100) return AppendNumber(text, number, 2);  // not of a valid time
  std::memcpy(text, &kDigitPairs[2 * number], 2);
  return text + 2;
}

char* AppendPart(char* text, char before, std::uint16_t number) {
  *text = before;
  return AppendPair(text + 1, number);
}

char* AppendWholeSeconds(char* text, const SYSTEMTIME& time) {
  const bool isOrdinary = time.wYear >= 1000 && time.wYear < 10'000;
  text =
      isOrdinary ? AppendPair(AppendPair(text, time.wYear / 100), time.wYear % 100) : AppendNumber(text, time.wYear, 1);
  text = AppendPart(text, '-', time.wMonth);
  text = AppendPart(text, '-', time.wDay);
  text = AppendPart(text, ' ', time.wHour);
  text = AppendPart(text, ':', time.wMinute);
  return AppendPart(text, ':', time.wSecond);
}

}  // namespace

void PutAnyDecimal(Field field, double value, int decimals) {
  // Holds every finite double with sign, point and the at most 254 decimals of a column.
  char text[std::numeric_limits<double>::max_exponent10 + 1 + 2 + 254];
  const char* const end = std::to_chars(text, std::end(text), value, std::chars_format::fixed, decimals).ptr;
  const std::string_view kept = std::string_view(text, end).substr(0, field.size());
  std::copy(kept.begin(), kept.end(), field.end() - std::ssize(kept));
}

void PutText(Field field, std::string_view text) { text.copy(field.data(), field.size()); }

void PutText(Field field, std::wstring_view text) { NarrowAnsi(text, field); }

void PutWholeSeconds(Field field, const SYSTEMTIME& time) { AppendWholeSeconds(field.data(), time); }

void PutTime(Field field, const FILETIME& time) {
  SYSTEMTIME calendar{};
  ToSystemTime(time, calendar);
  char* const end = AppendWholeSeconds(field.data(), calendar);
  *end = '.';
  end[1] = static_cast<char>('0' + calendar.wMilliseconds / 100);
  AppendPair(end + 2, calendar.wMilliseconds % 100);
}

void PutTicks(Field field, const FILETIME& time) { AppendNumber(field.data(), Ticks(time), 1); }

}  // namespace kv
