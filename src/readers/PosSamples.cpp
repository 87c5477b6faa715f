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

double AdjGpsSecondsOf(const PosNumbers& numbers) {
  double adjGpsSeconds = 0.0;
  TimeConverter::GPSWkSecsToAdjGPSSecs(numbers.week, numbers.secondsOfWeek, adjGpsSeconds);
  return adjGpsSeconds;
}

}  // namespace

bool ReadPosNumbers(std::span<const std::string_view> tokens, PosNumbers& numbers) {
  const auto week = WholeInteger32(tokens[0]);
  if (!week) return false;
  numbers.week = *week;
  return ReadWhole(tokens[1], numbers.secondsOfWeek) && ReadWhole(tokens[2], numbers.latitude) &&
         ReadWhole(tokens[3], numbers.longitude) && ReadWhole(tokens[4], numbers.height);
}

void PosSampleReader::ReadPlace(const PosNumbers& numbers, Event& sample) {
  sample.Latitude = numbers.latitude;
  sample.Longitude = numbers.longitude;
  sample.Height = numbers.height;
  sample.TimeUTC = clock_.TimeOf(AdjGpsSecondsOf(numbers));
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
  clock_.SetTime(AdjGpsSecondsOf(numbers), sample);
}

CStringW PosSampleReader::Text(std::string_view ansi) {
  WidenAnsi(ansi, wide_);
  return FieldText(wide_);
}

}  // namespace kv
