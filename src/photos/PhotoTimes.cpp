#include "photos/PhotoTimes.h"

#include <algorithm>

#include "photos/ExifBlock.h"
#include "text/Numbers.h"

namespace kv::mission {
namespace {

constexpr std::wstring_view kStampForm = L"dddddd_dddddd", kDroneForm = L"dddddddddddddd";

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

std::optional<Instant> StampAt(std::wstring_view name, std::size_t begin, std::wstring_view form) {
  const std::size_t end = begin + form.size();
  if ((begin > 0 && IsDigit(name[begin - 1])) || (end < name.size() && IsDigit(name[end]))) return std::nullopt;
  const std::wstring_view stamp = name.substr(begin, form.size());
  const auto fits = [](wchar_t c, wchar_t wanted) { return wanted == L'd' ? IsDigit(c) : c == wanted; };
  if (!std::equal(stamp.begin(), stamp.end(), form.begin(), fits)) return std::nullopt;
  const auto digit = [&](std::size_t at) { return static_cast<int>(stamp[at]) - '0'; };
  const auto pair = [&](std::size_t at) { return digit(at) * 10 + digit(at + 1); };
  if (form == kDroneForm) return FromFields(pair(0) * 100 + pair(2), pair(4), pair(6), pair(8), pair(10), pair(12));
  return FromFields(2000 + pair(0), pair(2), pair(4), pair(7), pair(9), pair(11));
}

/// @return  the first stamp of a form that is a valid time
std::optional<Instant> FirstStamp(std::wstring_view name, std::wstring_view form) {
  for (std::size_t begin = 0; begin + form.size() <= name.size(); ++begin) {
    if (const auto time = StampAt(name, begin, form)) return time;
  }
  return std::nullopt;
}

std::string_view TextOf(ExifData& data, ExifTag tag) {
  const ExifEntry* entry = exif_content_get_entry(data.ifd[EXIF_IFD_EXIF], tag);
  if (!entry || !entry->data) return {};
  const std::string_view text(reinterpret_cast<const char*>(entry->data), entry->size);
  return text.substr(0, text.find('\0'));
}

std::optional<int> Pair(std::string_view text, std::size_t at) {
  return at + 2 <= text.size() ? Digits(text.substr(at, 2)) : std::nullopt;
}

/// "YYYY:MM:DD HH:MM:SS"; the separators may be any, because cameras differ in them.
std::optional<Instant> CalendarTime(std::string_view text) {
  const auto century = Pair(text, 0), year = Pair(text, 2), month = Pair(text, 5), day = Pair(text, 8);
  const auto hour = Pair(text, 11), minute = Pair(text, 14), second = Pair(text, 17);
  if (!century || !year || !month || !day || !hour || !minute || !second) return std::nullopt;
  return FromFields(*century * 100 + *year, *month, *day, *hour, *minute, *second);
}

/// The leading digits as decimals of a second.
FileTimeTicks Fraction(std::string_view digits) {
  std::int64_t ticks = 0, place = FileTimeTicks::period::den;
  for (const char c : digits) {
    if (c < '0' || c > '9') break;
    place /= 10;
    ticks += (c - '0') * place;
  }
  return FileTimeTicks(ticks);
}

constexpr int kMostZoneHours = 14;  // the easternmost time zone

/// "+02:00": local time minus UTC.
std::optional<std::chrono::minutes> ZoneOffset(std::string_view text) {
  if (text == "Z") return std::chrono::minutes{0};
  if (text.size() < 6 || (text[0] != '+' && text[0] != '-')) return std::nullopt;
  const auto hours = Pair(text, 1), minutes = Pair(text, 4);
  if (!hours || !minutes || *hours > kMostZoneHours || *minutes > 59) return std::nullopt;
  return std::chrono::minutes{(text[0] == '-' ? -1 : 1) * (*hours * 60 + *minutes)};
}

}  // namespace

std::optional<Instant> StampTime(std::wstring_view name) { return FirstStamp(name, kStampForm); }

std::optional<Instant> DroneStampTime(std::wstring_view name) { return FirstStamp(name, kDroneForm); }

std::optional<ExifTime> ExifTimeOriginal(const std::vector<unsigned char>& exif) {
  const ExifPtr data = ReadExif(exif);
  if (!data) return std::nullopt;
  const auto local = CalendarTime(TextOf(*data, EXIF_TAG_DATE_TIME_ORIGINAL));
  if (!local) return std::nullopt;
  const auto zone = ZoneOffset(TextOf(*data, EXIF_TAG_OFFSET_TIME_ORIGINAL));
  const auto fraction = Fraction(TextOf(*data, EXIF_TAG_SUB_SEC_TIME_ORIGINAL));
  return ExifTime{*local + fraction - zone.value_or(std::chrono::minutes{0}), zone.has_value()};
}

}  // namespace kv::mission
