#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "conversions/ErrorText.h"
#include "conversions/Numbers.h"
#include "conversions/TimeConverter.h"
#include "crs/CoordinateSystemTransformer.h"
#include "platform/ResourceText.h"
#include "scanners/FieldFile.h"
#include "scanners/PosTime.h"

namespace {

using Tokens = std::span<const std::wstring_view>;
using Event = tagKVPosEvent;

constexpr int kSetUpFailed = 15222;
// What the transformer says follows at once.
constexpr const wchar_t* kTransformFailed = L"Error transforming POS point to target SRS.";
constexpr const wchar_t* kUnexpectedError = L"Unexpected error scanning POS file.";

// WGS 84 with heights above the ellipsoid (vertical datum class 2002).
constexpr const wchar_t* kSourceWkt =
    LR"wkt(COMPD_CS["WGS 84 + Ellipsoid(Meters)",GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,)wkt"
    LR"wkt(298.257223563,AUTHORITY["EPSG","7030"]],AUTHORITY["EPSG","6326"]],PRIMEM["Greenwich",0,)wkt"
    LR"wkt(AUTHORITY["EPSG","8901"]],UNIT["degree",0.0174532925199433,AUTHORITY["EPSG","9122"]],)wkt"
    LR"wkt(AXIS["Latitude",NORTH],AXIS["Longitude",EAST],AUTHORITY["EPSG","4326"]],)wkt"
    LR"wkt(VERT_CS["Ellipsoid(Meters)",VERT_DATUM["Ellipsoid",2002],UNIT["metre",1,AUTHORITY["EPSG","9001"]],)wkt"
    LR"wkt(AXIS["Up",UP]]])wkt";

constexpr std::size_t kSampleTokens = 15;
constexpr std::size_t kFirstKeptToken = 5;
constexpr CStringW Event::*kKeptTexts[] = {&Event::Token6,  &Event::Token7,  &Event::Token8,  &Event::Token9,
                                           &Event::Token10, &Event::Token11, &Event::Token12, &Event::Token13,
                                           &Event::Token14, &Event::Token15};
static_assert(kFirstKeptToken + std::size(kKeptTexts) == kSampleTokens);

// Reads what the tokens say; the target coordinates are still missing. Nothing for a line that is no sample.
std::optional<Event> ReadSample(Tokens tokens, kv::PosClock& clock, const Event& earlier) {
  if (tokens.size() < kSampleTokens || tokens[0] == L"%") return {};
  const auto week = kv::WholeInteger32(tokens[0]);
  const auto seconds = kv::WholeDouble(tokens[1]);
  const auto latitude = kv::WholeDouble(tokens[2]);
  const auto longitude = kv::WholeDouble(tokens[3]);
  const auto height = kv::WholeDouble(tokens[4]);
  if (!week || !seconds || !latitude || !longitude || !height) return {};

  Event event;
  event.GpsWeekText = kv::FieldText(tokens[0], earlier.GpsWeekText);
  event.GpsSecondsText = kv::FieldText(tokens[1]);
  event.LatitudeText = kv::FieldText(tokens[2]);
  event.LongitudeText = kv::FieldText(tokens[3]);
  event.HeightText = kv::FieldText(tokens[4]);
  event.Latitude = *latitude;
  event.Longitude = *longitude;
  event.Height = *height;
  for (std::size_t i = 0; i < std::size(kKeptTexts); ++i) {
    event.*kKeptTexts[i] = kv::FieldText(tokens[kFirstKeptToken + i], earlier.*kKeptTexts[i]);
  }
  double adjGpsSeconds = 0.0;
  TimeConverter::GPSWkSecsToAdjGPSSecs(*week, *seconds, adjGpsSeconds);
  clock.SetTime(adjGpsSeconds, event);
  return event;
}

bool Transform(CoordinateSystemTransformer& transformer, Event& event) {
  event.X = event.Longitude;
  event.Y = event.Latitude;
  event.Z = event.Height;
  return transformer.Transform(&event.X, &event.Y, &event.Z, 1) == CoordinateSystemTransformer::kOk;
}

}  // namespace

std::vector<tagKVPosEvent> KVUtilities::ScanKVPosFile(std::wstring posFilePath, std::wstring targetWkt,
                                                      std::wstring& error) try {
  error.clear();
  TimeConverter::Init();
  CoordinateSystemTransformer transformer;
  const std::wstring source = transformer.PrepareVerticalWkt(kSourceWkt);
  const std::wstring target = transformer.PrepareVerticalWkt(targetWkt);
  std::wstring message;
  if (transformer.Setup(source, target, message) != CoordinateSystemTransformer::kOk) {
    error = MHwchar(kSetUpFailed) + message;
    return {};
  }
  std::vector<Event> events;
  const Event none;
  kv::PosClock clock;
  kv::ForEachLine<kSampleTokens>(posFilePath, kv::Delimiters("\t "), [&](Tokens tokens) {
    auto event = ReadSample(tokens, clock, events.empty() ? none : events.back());
    if (!event) return true;
    if (!Transform(transformer, *event)) {
      transformer.GetLastMessage(message);
      error = kTransformFailed + message;
      return false;
    }
    events.push_back(std::move(*event));
    return true;
  });
  return events;
} catch (...) {
  kv::Report(error, kUnexpectedError);
  return {};
}
