#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "platform/FileNames.h"
#include "readers/ApplanixHeader.h"
#include "readers/ByteOrderMark.h"
#include "readers/FieldFile.h"
#include "readers/PosTime.h"
#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/TimeConverter.h"

namespace {

using Event = tagKVPosEvent;
using Header = kv::ApplanixHeader;
using Tokens = std::span<const std::wstring_view>;
using WeekStart = kv::ApplanixHeader::WeekStart;

constexpr const wchar_t* kNoDate = L"Error scanning Applanix trajectory file. The header holds no mission date.";
constexpr const wchar_t* kMissingColumns =
    L"Error scanning Applanix trajectory file. The header names no ";  // and which
constexpr const wchar_t* kOneRowSkipped = L"There was one row that could not be read.";
constexpr const wchar_t* kRowsSkipped = L" rows that could not be read.";  // after "There were" and a number

constexpr const wchar_t* kKind = L"Applanix";

constexpr double kSecondsPerWeek = 604'800;
constexpr double kGpsSecondsOfAdjustedZero = 1e9;

// A column of numbers; a file without an optional one leaves its field as it is.
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

// What has no finite value is no measurement.
std::optional<double> FiniteNumber(std::wstring_view token) {
  const auto value = kv::WholeDouble(token);
  return value && std::isfinite(*value) ? value : std::nullopt;
}

// Where the columns stand in a row.
class Layout {
 public:
  explicit Layout(const Header& header) {
    const std::vector<std::wstring_view> names = header.Columns();
    columnCount_ = names.size();
    const auto find = [&](std::wstring_view name, bool last) {
      std::optional<std::size_t> found;
      for (std::size_t i = 0; i < names.size() && (last || !found); ++i) {
        if (names[i] == name) found = i;
      }
      return found;
    };
    time_ = find(kTimeColumn, false);
    if (!time_) AddMissing(kTimeColumn);
    for (std::size_t i = 0; i < std::size(kNumberColumns); ++i) {
      const NumberColumn& column = kNumberColumns[i];
      numbers_[i] = find(column.name, column.which == NumberColumn::kLast);
      if (!numbers_[i] && column.need == NumberColumn::kRequired) AddMissing(column.name);
    }
    for (std::size_t i = 0; i < std::size(kTextColumns); ++i) texts_[i] = find(kTextColumns[i].name, false);
  }

  /// The names of required columns that are not there, separated by commas.
  const std::wstring& Missing() const { return missing_; }

  /// @param seconds  receives the time
  /// @param earlier  the row before, whose texts are shared where they are equal
  /// @return         nothing for a row of too few columns or with something else where a finite number should be
  std::optional<Event> ReadRow(Tokens tokens, double& seconds, const Event& earlier) const {
    if (tokens.size() < columnCount_) return {};
    const auto time = FiniteNumber(tokens[*time_]);
    if (!time) return {};
    seconds = *time;
    Event event;
    event.GpsSecondsText = kv::FieldText(tokens[*time_]);
    for (std::size_t i = 0; i < std::size(kNumberColumns); ++i) {
      if (!numbers_[i]) continue;
      const std::wstring_view token = tokens[*numbers_[i]];
      const auto value = FiniteNumber(token);
      if (!value) return {};
      event.*kNumberColumns[i].number = *value;
      if (const auto text = kNumberColumns[i].text) event.*text = kv::FieldText(token, earlier.*text);
    }
    for (std::size_t i = 0; i < std::size(kTextColumns); ++i) {
      const auto text = kTextColumns[i].text;
      if (texts_[i]) event.*text = kv::FieldText(tokens[*texts_[i]], earlier.*text);
    }
    return event;
  }

 private:
  void AddMissing(std::wstring_view name) {
    if (!missing_.empty()) missing_ += L", ";
    missing_ += name;
  }

  std::size_t columnCount_ = 0;
  std::optional<std::size_t> time_;
  std::array<std::optional<std::size_t>, std::size(kNumberColumns)> numbers_;
  std::array<std::optional<std::size_t>, std::size(kTextColumns)> texts_;
  std::wstring missing_;
};

// Turns rows into samples, once the header has said how.
class Rows {
 public:
  Rows(const Header& header, WeekStart start)
      : layout_(header),
        start_(start),
        datum_(kv::FieldText(header.Datum())),
        projection_(kv::FieldText(header.Projection())) {}

  const std::wstring& MissingColumns() const { return layout_.Missing(); }

  void Read(Tokens tokens) {
    if (tokens.empty()) return;
    double seconds = 0.0;
    auto event = layout_.ReadRow(tokens, seconds, events_.empty() ? none_ : events_.back());
    if (!event) {
      ++skipped_;
      return;
    }
    // Seconds of week start anew when the mission passes the end of its first week.
    const bool isNextWeek = seconds < start_.secondsOfWeek - kSecondsPerWeek / 2;
    const std::int32_t week = start_.week + (isNextWeek ? 1 : 0);
    if (events_.empty() || week != week_) {
      week_ = week;
      weekText_ = kv::FieldText(std::to_wstring(week));
    }
    event->GpsWeekText = weekText_;
    double adjGpsSeconds = 0.0;
    TimeConverter::GPSWkSecsToAdjGPSSecs(week, seconds, adjGpsSeconds);
    clock_.SetTime(adjGpsSeconds, *event);
    event->Extra1 = datum_;
    event->Extra2 = projection_;
    event->Extra3 = kind_;
    events_.push_back(std::move(*event));
  }

  std::vector<Event> Take(std::wstring& error) {
    if (skipped_ == 1) error = kOneRowSkipped;
    if (skipped_ > 1) error = L"There were " + std::to_wstring(skipped_) + kRowsSkipped;
    return std::move(events_);
  }

 private:
  Layout layout_;
  WeekStart start_;
  CStringW datum_, projection_, kind_ = kKind;
  std::int32_t week_ = 0;  // of the latest sample
  CStringW weekText_;
  kv::PosClock clock_;
  const Event none_;
  std::vector<Event> events_;
  std::size_t skipped_ = 0;
};

// @param start  nothing to take it from the header
std::vector<Event> Scan(const std::wstring& path, std::optional<WeekStart> start, std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  if (!kv::PathExists(path)) return {};
  Header header;
  std::optional<Rows> rows;
  std::array<std::wstring_view, Header::kMostColumns> tokens;
  kv::ByteOrderMark mark;
  kv::ForEachLine(path, [&](std::wstring_view text) {
    const std::wstring_view line = mark.Skip(text);
    if (rows) {
      rows->Read(kv::Tokenise(line, kv::Delimiters("\t "), tokens));
    } else if (header.Read(line)) {
      if (!start) start = header.Start();
      rows.emplace(header, start.value_or(WeekStart{}));
      return rows->MissingColumns().empty() && start;
    }
    return true;
  });
  if (!rows) rows.emplace(Header(), WeekStart{});  // no header names no columns
  if (!rows->MissingColumns().empty()) {
    error = kMissingColumns + rows->MissingColumns() + L".";
  } else if (!start) {
    error = kNoDate;
  } else {
    return rows->Take(error);
  }
  return {};
}

}  // namespace

std::vector<tagKVPosEvent> KVUtilities::ScanApplanixPostProcessTrajectoryFile(std::wstring path, std::wstring& error) {
  return Scan(path, {}, error);
}

std::vector<tagKVPosEvent> KVUtilities::ScanApplanixPostProcessTrajectoryFile(FILETIME missionDate, std::wstring path,
                                                                              std::wstring& error) {
  const double gpsSeconds = kv::AdjGpsSeconds(missionDate) + kGpsSecondsOfAdjustedZero;
  const double week = std::floor(gpsSeconds / kSecondsPerWeek);
  return Scan(path, WeekStart{static_cast<std::int32_t>(week), gpsSeconds - week * kSecondsPerWeek}, error);
}
