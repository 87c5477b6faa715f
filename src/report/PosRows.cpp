#include "report/PosRows.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include "platform/FileNames.h"
#include "text/Csv.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using Sample = tagKVPosEvent;

constexpr int kDecimals = 6;  // micrometres, microseconds

constexpr CStringW Sample::*kTextsOfFile[] = {&Sample::GpsWeekText, &Sample::GpsSecondsText, &Sample::LatitudeText,
                                              &Sample::LongitudeText, &Sample::HeightText};
constexpr CStringW Sample::*kKeptTexts[] = {&Sample::Token6,  &Sample::Token7,  &Sample::Token8,  &Sample::Token9,
                                            &Sample::Token10, &Sample::Token11, &Sample::Token12, &Sample::Token13,
                                            &Sample::Token14, &Sample::Token15};

constexpr std::size_t kMostDigits = 20;  // of 64 bits

/// A text that grows at its end in small pieces.
class Text {
 public:
  explicit Text(std::size_t expected) : characters_(expected, '\0') {}

  void Append(char c) { *Room(1) = c, ++size_; }
  void Append(std::string_view piece) { size_ += piece.copy(Room(piece.size()), piece.size()); }
  void Append(std::uint64_t number) {
    char* begin = Room(kMostDigits);
    size_ += static_cast<std::size_t>(std::to_chars(begin, begin + kMostDigits, number).ptr - begin);
  }
  /// Where so many characters may be written; `Grow` then makes them part of the text.
  char* Room(std::size_t length) {
    if (size_ + length > characters_.size()) characters_.resize(2 * characters_.size() + length);
    return characters_.data() + size_;
  }
  void Grow(std::size_t length) { size_ += length; }

  std::size_t Size() const { return size_; }
  std::string_view From(std::size_t begin) const { return {characters_.data() + begin, size_ - begin}; }

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
  // Below one, a one before the decimals keeps their zeros until it is the zero before the point.
  char* begin = text.Room(kMostDigits + 1);
  char* end = std::to_chars(begin, begin + kMostDigits, units < one ? one + units : units).ptr;
  if (units < one) *begin = '0';
  char* point = end - decimals;
  std::memmove(point + 1, point, static_cast<std::size_t>(decimals));
  *point = '.';
  text.Grow(static_cast<std::size_t>(end + 1 - begin));
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

/// A column whose texts repeat: what shares its buffer with the text before needs no second look.
class Column {
 public:
  void Append(const CStringW& field, Text& text) {
    if (field.GetString() == buffer_) return text.Append(std::string_view(narrow_));
    const std::size_t begin = text.Size();
    AppendField(field, text);
    narrow_ = text.From(begin);
    buffer_ = field.GetString();
  }

 private:
  const wchar_t* buffer_ = nullptr;
  std::string narrow_;
};

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
  constexpr std::size_t kUsualRow = 224;
  Text text(block.samples.size() * kUsualRow);
  IsoTimes times;
  std::array<Column, std::size(kKeptTexts)> kept;
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
    for (std::size_t column = 0; column < kept.size(); ++column) {
      kept[column].Append(sample.*kKeptTexts[column], text);
    }
    text.Append('\n');
  }
  return text.Take();
}

std::string PosXyzRows(const PosBlock& block, int decimals) {
  constexpr std::size_t kUsualRow = 48;
  Text text(block.samples.size() * kUsualRow);
  for (const Sample& sample : block.samples) {
    AppendDecimal(sample.X, decimals, text);
    text.Append(' ');
    AppendDecimal(sample.Y, decimals, text);
    text.Append(' ');
    AppendDecimal(sample.Z, kDecimals, text);
    text.Append('\n');
  }
  return text.Take();
}

}  // namespace kv::mission
