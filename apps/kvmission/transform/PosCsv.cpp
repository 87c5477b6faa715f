#include "transform/PosCsv.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "Csv.h"
#include "System.h"
#include "field/Times.h"

namespace kv::mission {
namespace {

using Sample = tagKVPosEvent;

constexpr CStringW Sample::*kTextsOfFile[] = {&Sample::GpsWeekText, &Sample::GpsSecondsText, &Sample::LatitudeText,
                                              &Sample::LongitudeText, &Sample::HeightText};
constexpr CStringW Sample::*kKeptTexts[] = {&Sample::Token6,  &Sample::Token7,  &Sample::Token8,  &Sample::Token9,
                                            &Sample::Token10, &Sample::Token11, &Sample::Token12, &Sample::Token13,
                                            &Sample::Token14, &Sample::Token15};

/// A text that grows at its end in small pieces.
class Text {
 public:
  explicit Text(std::size_t expected) : characters_(expected, '\0') {}

  void Append(char c) { *Room(1) = c, ++size_; }
  void Append(std::string_view piece) { size_ += piece.copy(Room(piece.size()), piece.size()); }
  void Append(std::uint64_t number) {
    constexpr std::size_t kMostDigits = 20;
    char* begin = Room(kMostDigits);
    size_ += static_cast<std::size_t>(std::to_chars(begin, begin + kMostDigits, number).ptr - begin);
  }
  /// Where so many characters may be written; `Grow` then makes them part of the text.
  char* Room(std::size_t length) {
    if (size_ + length > characters_.size()) characters_.resize(2 * characters_.size() + length);
    return characters_.data() + size_;
  }
  void Grow(std::size_t length) { size_ += length; }

  std::string Take() {
    characters_.resize(size_);
    return std::move(characters_);
  }

 private:
  std::string characters_;
  std::size_t size_ = 0;
};

constexpr auto kPowersOfTen = std::to_array<std::uint64_t>(
    {1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000, 10'000'000'000});

/// As fmt's "{:.nf}", the nearest decimal to the exact value. Where one multiplication lands beside the middle between
/// two decimals, the exact value is on the same side, as rounding keeps order; the middle itself it may have reached
/// from either.
void AppendDecimal(double value, int decimals, Text& text) {
  constexpr double kLastMiddle = 0x1p52;  // above, a double has no halves
  const std::uint64_t one = kPowersOfTen[static_cast<std::size_t>(decimals)];
  const double product = std::abs(value) * static_cast<double>(one);
  const double whole = std::floor(product), part = product - whole;
  if (!(product < kLastMiddle) || part == 0.5) return text.Append(fmt::format("{:.{}f}", value, decimals));
  const std::uint64_t units = static_cast<std::uint64_t>(whole) + (part > 0.5);
  if (std::signbit(value)) text.Append('-');
  text.Append(units / one);
  char* point = text.Room(0);
  text.Append(one + units % one);  // a one before the decimals keeps their zeros and makes room for the point
  *point = '.';
}

void AppendAnyField(std::wstring_view field, Text& text) {
  std::string narrow;
  AppendCsvField(Utf8(std::wstring(field)), narrow);
  text.Append(std::string_view(narrow));
}

void AppendField(const CStringW& field, Text& text) {
  constexpr wchar_t kAsciiEnd = 0x80;
  const std::wstring_view wide(field.GetString(), static_cast<std::size_t>(field.GetLength()));
  text.Append(',');
  char* narrow = text.Room(wide.size());
  bool isPlain = true;
  for (std::size_t i = 0; i < wide.size(); ++i) {
    const wchar_t c = wide[i];
    narrow[i] = static_cast<char>(c);
    isPlain = isPlain & (c < kAsciiEnd) & (c != L',') & (c != L'"') & (c != L'\r') & (c != L'\n');
  }
  isPlain ? text.Grow(wide.size()) : AppendAnyField(wide, text);
}

/// Times as `IsoText` gives them; the date is worked out once a day.
class IsoTimes {
 public:
  void Append(Instant time, Text& text) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    if (day != day_) date_ = DateText(day_ = day);
    const auto milliseconds = static_cast<std::uint64_t>((time - day) / std::chrono::milliseconds{1});
    char clock[] = "Thh:mm:ss.mmmZ";
    const auto put = [&](std::size_t begin, std::size_t digits, std::uint64_t number) {
      for (std::size_t i = begin + digits; i > begin; number /= 10) clock[--i] = static_cast<char>('0' + number % 10);
    };
    put(1, 2, milliseconds / 3'600'000);
    put(4, 2, milliseconds / 60'000 % 60);
    put(7, 2, milliseconds / 1'000 % 60);
    put(10, 3, milliseconds % 1'000);
    text.Append(date_);
    text.Append(std::string_view(clock));
  }

 private:
  std::chrono::sys_days day_;
  std::string date_ = DateText(day_);
};

/// To the nearest millisecond: a sum of seconds ends in ...199.9999 as often as in ...200.
Instant NearestMillisecond(const FILETIME& time) {
  constexpr FileTimeTicks kHalf{5000};
  return FromFileTime(time) + kHalf;
}

}  // namespace

std::string PosCsvHeader() {
  std::string text = "index,line,timeUtc,adjGpsSec,gpsWeek,gpsSeconds,latitude,longitude,height,x,y,z";
  for (int token = 6; token <= 15; ++token) text += fmt::format(",token{}", token);
  return text + '\n';
}

std::string PosCsvRows(const PosBlock& block, int decimals) {
  constexpr std::size_t kUsualRow = 256;
  constexpr int kDecimals = 6;  // micrometres, microseconds
  Text text(block.samples.size() * kUsualRow);
  IsoTimes times;
  for (std::size_t i = 0; i < block.samples.size(); ++i) {
    const Sample& sample = block.samples[i];
    text.Append(std::uint64_t{block.first + i});
    text.Append(',');
    text.Append(std::uint64_t{block.lines[i]});
    text.Append(',');
    times.Append(NearestMillisecond(sample.TimeUTC), text);
    text.Append(',');
    AppendDecimal(sample.AdjGpsSec, kDecimals, text);
    for (const auto field : kTextsOfFile) AppendField(sample.*field, text);
    for (const auto& [value, places] : {std::pair(sample.X, decimals), {sample.Y, decimals}, {sample.Z, kDecimals}}) {
      text.Append(',');
      AppendDecimal(value, places, text);
    }
    for (const auto field : kKeptTexts) AppendField(sample.*field, text);
    text.Append('\n');
  }
  return text.Take();
}

}  // namespace kv::mission
