#include "report/PosRows.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "platform/FileNames.h"
#include "text/Csv.h"
#include "text/Decimals.h"
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

void Append(std::uint64_t number, std::string& text) {
  const fmt::format_int digits(number);
  text.append(digits.data(), digits.size());
}

/// Like fmt's "{:.nf}".
void AppendDecimal(double value, int decimals, std::string& text) {
  const auto units = RoundedUnits(value, decimals);
  if (!units) {
    text += fmt::format("{:.{}f}", value, decimals);
    return;
  }
  char digits[kLongestDecimal], *const end = std::end(digits);
  text.append(PutUnits(*units, decimals, std::signbit(value), end), end);
}

void AppendField(const CStringW& field, std::string& text) {
  constexpr wchar_t kAsciiEnd = 0x80;
  const std::wstring_view wide(field.GetString(), static_cast<std::size_t>(field.GetLength()));
  text += ',';
  const std::size_t begin = text.size();
  text.resize(begin + wide.size());
  bool isPlain = true;
  for (std::size_t i = 0; i < wide.size(); ++i) {
    const wchar_t c = wide[i];
    text[begin + i] = static_cast<char>(c);
    isPlain = isPlain & (c < kAsciiEnd) & (c != L',') & (c != L'"') & (c != L'\r') & (c != L'\n');
  }
  if (isPlain) return;
  text.resize(begin);
  AppendCsvField(Utf8(std::wstring(wide)), text);
}

/// A column whose texts repeat: a text that shares its buffer with the one before is not converted again.
class Column {
 public:
  void Append(const CStringW& field, std::string& text) {
    if (field.GetString() != buffer_) {
      narrow_.clear();
      AppendField(field, narrow_);
      buffer_ = field.GetString();
    }
    text += narrow_;
  }

 private:
  const wchar_t* buffer_ = nullptr;
  std::string narrow_;
};

/// Times as `IsoText` gives them; the date is worked out once a day.
class IsoTimes {
 public:
  void Append(Instant time, std::string& text) {
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
    (text += date_) += clock;
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

void PosCsvRows(const PosBlock& block, int decimals, std::string& text) {
  constexpr std::size_t kUsualRow = 224;
  text.clear();
  text.reserve(block.samples.size() * kUsualRow);
  IsoTimes times;
  std::array<Column, std::size(kKeptTexts)> kept;
  for (std::size_t i = 0; i < block.samples.size(); ++i) {
    const Sample& sample = block.samples[i];
    Append(block.first + i, text);
    text += ',';
    Append(block.lines[i], text);
    text += ',';
    times.Append(NearestMillisecond(sample.TimeUTC), text);
    text += ',';
    AppendDecimal(sample.AdjGpsSec, kDecimals, text);
    for (const auto field : kTextsOfFile) AppendField(sample.*field, text);
    for (const auto& [value, places] : {std::pair(sample.X, decimals), {sample.Y, decimals}, {sample.Z, kDecimals}}) {
      text += ',';
      AppendDecimal(value, places, text);
    }
    for (std::size_t column = 0; column < kept.size(); ++column) {
      kept[column].Append(sample.*kKeptTexts[column], text);
    }
    text += '\n';
  }
}

void PosXyzRows(const PosBlock& block, int decimals, std::string& text) {
  constexpr std::size_t kUsualRow = 48;
  text.clear();
  text.reserve(block.samples.size() * kUsualRow);
  for (const Sample& sample : block.samples) {
    AppendDecimal(sample.X, decimals, text);
    text += ' ';
    AppendDecimal(sample.Y, decimals, text);
    text += ' ';
    AppendDecimal(sample.Z, kDecimals, text);
    text += '\n';
  }
}

}  // namespace kv::mission
