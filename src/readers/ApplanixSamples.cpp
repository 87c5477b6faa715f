#include "readers/ApplanixSamples.h"

#include <cmath>
#include <iterator>
#include <utility>

#include "platform/CodePage.h"
#include "readers/FieldFile.h"
#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/TimeConverter.h"

namespace kv {
namespace {

using Event = tagKVPosEvent;

constexpr const wchar_t* kKind = L"Applanix";

constexpr double kSecondsPerWeek = 604'800;
constexpr double kGpsSecondsOfAdjustedZero = 1e9;

// A column of numbers. If the file lacks an optional one, its field keeps its default.
struct NumberColumn {
  std::wstring_view name;
  double Event::*number;
  CStringW Event::*text = nullptr;
  enum { kRequired, kOptional } need = kOptional;
  enum { kFirst, kLast } which = kFirst;  // of several columns of the name
};
constexpr NumberColumn kNumberColumns[] = {
    {L"LATITUDE", &Event::Latitude, &Event::LatitudeText, NumberColumn::kRequired},
    {L"LONGITUDE", &Event::Longitude, &Event::LongitudeText, NumberColumn::kRequired},
    {L"ELLIPSOID HEIGHT", &Event::Height, &Event::HeightText, NumberColumn::kRequired, NumberColumn::kLast},
    {L"EASTING", &Event::X},
    {L"NORTHING", &Event::Y},
    {L"ELLIPSOID HEIGHT", &Event::Z},
    {L"ROLL", &Event::Value1},
    {L"PITCH", &Event::Value2},
    {L"HEADING", &Event::Value3},
};
constexpr std::wstring_view kTimeColumn = L"TIME";

struct TextColumn {
  std::wstring_view name;
  CStringW Event::*text;
};
constexpr TextColumn kTextColumns[] = {
    {L"EAST VELOCITY", &Event::Token6}, {L"NORTH VELOCITY", &Event::Token7}, {L"UP VELOCITY", &Event::Token8},
    {L"EAST SD", &Event::Token9},       {L"NORTH SD", &Event::Token10},      {L"HEIGHT SD", &Event::Token11},
    {L"ROLL SD", &Event::Token12},      {L"PITCH SD", &Event::Token13},      {L"HEADING SD", &Event::Token14},
    {L"DISTANCE", &Event::Token15},
};

// @param last  whether to take the last of several columns with this name
std::optional<std::size_t> Find(std::wstring_view name, bool last, std::span<const std::wstring> names) {
  std::optional<std::size_t> found;
  for (std::size_t i = 0; i < names.size() && (last || !found); ++i) {
    if (names[i] == name) found = i;
  }
  return found;
}

}  // namespace

ApplanixColumns::ApplanixColumns() : ApplanixColumns(ApplanixHeader()) {}

ApplanixColumns::ApplanixColumns(const ApplanixHeader& header) {
  static_assert(std::size(kNumberColumns) == kNumbers && std::size(kTextColumns) == kTexts);
  const std::vector<std::wstring>& names = header.Columns();
  count_ = names.size();
  time_ = Find(kTimeColumn, false, names);
  if (!time_) AddMissing(kTimeColumn);
  for (std::size_t i = 0; i < kNumbers; ++i) {
    const NumberColumn& column = kNumberColumns[i];
    numbers_[i] = Find(column.name, column.which == NumberColumn::kLast, names);
    if (!numbers_[i] && column.need == NumberColumn::kRequired) AddMissing(column.name);
  }
  for (std::size_t i = 0; i < kTexts; ++i) texts_[i] = Find(kTextColumns[i].name, false, names);
}

bool ApplanixColumns::ReadRow(std::span<const std::string_view> tokens, const Event& earlier, double& seconds,
                              Event& row) const {
  if (tokens.size() < count_) return false;
  const auto time = FiniteNumber(tokens[*time_]);
  if (!time) return false;
  seconds = *time;
  std::wstring wide;
  const auto textOf = [&](std::string_view token, const CStringW& before) {
    WidenAnsi(token, wide);
    return FieldText(wide, before);
  };
  row.GpsSecondsText = textOf(tokens[*time_], {});
  for (std::size_t i = 0; i < kNumbers; ++i) {
    if (!numbers_[i]) continue;
    const std::string_view token = tokens[*numbers_[i]];
    const auto value = FiniteNumber(token);
    if (!value) return false;
    row.*kNumberColumns[i].number = *value;
    if (const auto text = kNumberColumns[i].text) row.*text = textOf(token, earlier.*text);
  }
  for (std::size_t i = 0; i < kTexts; ++i) {
    const auto text = kTextColumns[i].text;
    if (texts_[i]) row.*text = textOf(tokens[*texts_[i]], earlier.*text);
  }
  return true;
}

void ApplanixColumns::AddMissing(std::wstring_view name) {
  if (!missing_.empty()) missing_ += L", ";
  missing_ += name;
}

ApplanixReader::ApplanixReader(Calendar calendar) : kind_(kKind), clock_(calendar) {}

void ApplanixReader::BeginAt(FILETIME timeUTC) {
  const double gpsSeconds = AdjGpsSeconds(timeUTC) + kGpsSecondsOfAdjustedZero;
  const double week = std::floor(gpsSeconds / kSecondsPerWeek);
  start_ = WeekStart{static_cast<std::int32_t>(week), gpsSeconds - week * kSecondsPerWeek};
}

void ApplanixReader::Read(std::string_view line, std::vector<Event>& samples) {
  line = mark_.Skip(line);
  if (columns_) return ReadRow(line, samples);
  if (!header_.Read(line)) return;
  columns_.emplace(header_);
  datum_ = FieldText(header_.Datum());
  projection_ = FieldText(header_.Projection());
  if (!start_) start_ = header_.Start();
}

void ApplanixReader::ReadRow(std::string_view line, std::vector<Event>& samples) {
  const std::span<const std::string_view> tokens = Tokenise(line, Delimiters("\t "), tokens_);
  if (tokens.empty() || !IsReadable()) return;
  double seconds = 0.0;
  Event sample;
  if (!columns_->ReadRow(tokens, samples.empty() ? none_ : samples.back(), seconds, sample)) {
    ++skipped_;
    return;
  }
  // The seconds of week restart when the mission passes the end of its first week.
  const bool isNextWeek = seconds < start_->secondsOfWeek - kSecondsPerWeek / 2;
  const std::int32_t week = start_->week + (isNextWeek ? 1 : 0);
  if (week != week_) {
    week_ = week;
    weekText_ = FieldText(std::to_wstring(week));
  }
  sample.GpsWeekText = weekText_;
  double adjGpsSeconds = 0.0;
  TimeConverter::GPSWkSecsToAdjGPSSecs(week, seconds, adjGpsSeconds);
  clock_.SetTime(adjGpsSeconds, sample);
  sample.Extra1 = datum_;
  sample.Extra2 = projection_;
  sample.Extra3 = kind_;
  samples.push_back(std::move(sample));
}

}  // namespace kv
