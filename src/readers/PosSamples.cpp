#include "readers/PosSamples.h"

#include <iterator>

#include "platform/CodePage.h"
#include "text/Numbers.h"
#include "time/TimeConverter.h"

namespace kv {
namespace {

using Event = tagKVPosEvent;

constexpr std::size_t kFirstKeptToken = 5;
constexpr CStringW Event::*kKeptTexts[] = {&Event::Token6,  &Event::Token7,  &Event::Token8,  &Event::Token9,
                                           &Event::Token10, &Event::Token11, &Event::Token12, &Event::Token13,
                                           &Event::Token14, &Event::Token15};
static_assert(kFirstKeptToken + std::size(kKeptTexts) == kPosTokens);

}  // namespace

bool ReadPosNumbers(std::span<const std::string_view> tokens, PosNumbers& numbers) {
  const auto week = WholeInteger32(tokens[0]);
  const auto seconds = WholeDouble(tokens[1]);
  const auto latitude = WholeDouble(tokens[2]);
  const auto longitude = WholeDouble(tokens[3]);
  const auto height = WholeDouble(tokens[4]);
  if (!week || !seconds || !latitude || !longitude || !height) return false;
  numbers = {*week, *seconds, *latitude, *longitude, *height};
  return true;
}

void PosSampleReader::Read(std::span<const std::string_view> tokens, const PosNumbers& numbers, Event& sample) {
  sample.GpsWeekText = weeks_.Of(tokens[0]);
  sample.GpsSecondsText = Text(tokens[1]);
  sample.LatitudeText = Text(tokens[2]);
  sample.LongitudeText = Text(tokens[3]);
  sample.HeightText = Text(tokens[4]);
  sample.Latitude = numbers.latitude;
  sample.Longitude = numbers.longitude;
  sample.Height = numbers.height;
  for (std::size_t i = 0; i < std::size(kKeptTexts); ++i) {
    sample.*kKeptTexts[i] = kept_[i].Of(tokens[kFirstKeptToken + i]);
  }
  double adjGpsSeconds = 0.0;
  TimeConverter::GPSWkSecsToAdjGPSSecs(numbers.week, numbers.secondsOfWeek, adjGpsSeconds);
  clock_.SetTime(adjGpsSeconds, sample);
}

CStringW PosSampleReader::Text(std::string_view ansi) {
  WidenAnsi(ansi, wide_);
  return FieldText(wide_);
}

}  // namespace kv
