#include "transform/PosCsv.h"

#include <fmt/format.h>

#include <iterator>

#include "Csv.h"
#include "System.h"
#include "field/Times.h"

namespace kv::mission {
namespace {

using Sample = tagKVPosEvent;

constexpr CStringW Sample::*kKeptTexts[] = {&Sample::Token6,  &Sample::Token7,  &Sample::Token8,  &Sample::Token9,
                                            &Sample::Token10, &Sample::Token11, &Sample::Token12, &Sample::Token13,
                                            &Sample::Token14, &Sample::Token15};

void AppendField(const CStringW& field, std::string& text) {
  text += ',';
  AppendCsvField(Utf8(std::wstring(field.GetString(), static_cast<std::size_t>(field.GetLength()))), text);
}

/// To the nearest millisecond: a sum of seconds ends in ...199.9999 as often as in ...200.
std::string NearestMillisecond(const FILETIME& time) {
  constexpr FileTimeTicks kHalf{5000};
  return IsoText(FromFileTime(time) + kHalf);
}

}  // namespace

void AppendPosCsvHeader(std::string& text) {
  text += "index,line,timeUtc,adjGpsSec,gpsWeek,gpsSeconds,latitude,longitude,height,x,y,z";
  for (int token = 6; token <= 15; ++token) text += fmt::format(",token{}", token);
  text += '\n';
}

void AppendPosCsvRow(const Sample& sample, std::size_t index, std::size_t line, int decimals, std::string& text) {
  const auto end = std::back_inserter(text);
  fmt::format_to(end, "{},{},{},{:.6f}", index, line, NearestMillisecond(sample.TimeUTC), sample.AdjGpsSec);
  for (const auto* field :
       {&sample.GpsWeekText, &sample.GpsSecondsText, &sample.LatitudeText, &sample.LongitudeText, &sample.HeightText})
    AppendField(*field, text);
  fmt::format_to(end, ",{:.{}f},{:.{}f},{:.6f}", sample.X, decimals, sample.Y, decimals, sample.Z);
  for (const auto field : kKeptTexts) AppendField(sample.*field, text);
  text += '\n';
}

}  // namespace kv::mission
