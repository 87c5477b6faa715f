#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "base/ErrorText.h"
#include "crs/CoordinateSystemTransformer.h"
#include "crs/QuietErrors.h"
#include "platform/CodePage.h"
#include "platform/ResourceText.h"
#include "platform/TextStream.h"
#include "readers/FieldFile.h"
#include "readers/PosTime.h"
#include "text/Numbers.h"
#include "time/TimeConverter.h"

namespace {

using Tokens = std::span<const std::string_view>;
using Event = tagKVPosEvent;

constexpr int kSetUpFailed = 15222;
// What the transformer says follows at once.
constexpr const wchar_t* kTransformFailed = L"Error transforming POS point to target SRS.";
constexpr const wchar_t* kUnexpectedError = L"Unexpected error scanning POS file.";

// WGS 84 with heights above the ellipsoid (vertical datum class 2002).
constexpr const wchar_t* kWgs84Wkt =
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

// Makes samples of lines.
class SampleReader {
 public:
  // Fills in what a line of enough tokens says; the target coordinates stay missing.
  // @return false for a line that is no sample
  bool Read(Tokens tokens, Event& event) {
    if (tokens[0] == "%") return false;
    const auto week = kv::WholeInteger32(tokens[0]);
    const auto seconds = kv::WholeDouble(tokens[1]);
    const auto latitude = kv::WholeDouble(tokens[2]);
    const auto longitude = kv::WholeDouble(tokens[3]);
    const auto height = kv::WholeDouble(tokens[4]);
    if (!week || !seconds || !latitude || !longitude || !height) return false;

    event.GpsWeekText = weeks_.Of(tokens[0]);
    event.GpsSecondsText = Text(tokens[1]);
    event.LatitudeText = Text(tokens[2]);
    event.LongitudeText = Text(tokens[3]);
    event.HeightText = Text(tokens[4]);
    event.Latitude = *latitude;
    event.Longitude = *longitude;
    event.Height = *height;
    for (std::size_t i = 0; i < std::size(kKeptTexts); ++i) {
      event.*kKeptTexts[i] = kept_[i].Of(tokens[kFirstKeptToken + i]);
    }
    double adjGpsSeconds = 0.0;
    TimeConverter::GPSWkSecsToAdjGPSSecs(*week, *seconds, adjGpsSeconds);
    clock_.SetTime(adjGpsSeconds, event);
    return true;
  }

 private:
  CStringW Text(std::string_view ansi) {
    kv::WidenAnsi(ansi, wide_);
    return CStringW(wide_.data(), static_cast<int>(wide_.size()));
  }

  kv::PosClock clock_;
  kv::ColumnText weeks_;
  std::array<kv::ColumnText, std::size(kKeptTexts)> kept_;
  std::wstring wide_;
};

// One point at a time: for many, GDAL takes the operation that suits their middle, which need not be the one that suits
// each.
bool Transform(CoordinateSystemTransformer& transformer, Event& event) {
  event.X = event.Longitude;
  event.Y = event.Latitude;
  event.Z = event.Height;
  return transformer.Transform(&event.X, &event.Y, &event.Z, 1) == CoordinateSystemTransformer::kOk;
}

// @param source  path of a file, or a text
template <class Source>
std::vector<Event> Scan(Source source, const std::wstring& targetWkt, std::wstring& error) try {
  error.clear();
  TimeConverter::Init();
  CoordinateSystemTransformer transformer;
  const std::wstring sourceWkt = transformer.PrepareVerticalWkt(kWgs84Wkt);
  std::wstring message;
  if (transformer.Setup(sourceWkt, transformer.PrepareVerticalWkt(targetWkt), message) !=
      CoordinateSystemTransformer::kOk) {
    error = MHwchar(kSetUpFailed) + message;
    return {};
  }
  const kv::QuietErrors quiet;  // once for all points
  kv::TextStream stream(source);
  SampleReader reader;
  std::array<std::string_view, kSampleTokens> tokens;
  std::vector<Event> events;
  for (std::string_view line; stream.ReadLine(line);) {
    const Tokens found = kv::Tokenise(line, kv::Delimiters("\t "), tokens);
    if (found.size() < kSampleTokens) continue;
    kv::MakeRoom(events, line, stream.BytesLeft());
    if (!reader.Read(found, events.emplace_back())) {
      events.pop_back();
    } else if (!Transform(transformer, events.back())) {
      events.pop_back();
      transformer.GetLastMessage(message);
      error = kTransformFailed + message;
      break;
    }
  }
  return events;
} catch (...) {
  kv::Report(error, kUnexpectedError);
  return {};
}

}  // namespace

std::vector<tagKVPosEvent> KVUtilities::ScanKVPosFile(std::wstring posFilePath, std::wstring targetWkt,
                                                      std::wstring& error) {
  return Scan(std::wstring_view(posFilePath), targetWkt, error);
}

std::vector<tagKVPosEvent> KVUtilities::ScanKVPosText(std::string_view text, std::wstring targetWkt,
                                                      std::wstring& error) {
  return Scan(text, targetWkt, error);
}
