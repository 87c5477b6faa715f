#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "base/ErrorText.h"
#include "crs/CoordinateSystemTransformer.h"
#include "crs/QuietErrors.h"
#include "platform/TextStream.h"
#include "readers/FieldFile.h"
#include "readers/PosSamples.h"

namespace {

using Event = tagKVPosEvent;

// The transformer's message follows both.
constexpr const wchar_t* kSetUpFailed = L"The coordinate systems could not be set up. ";
constexpr const wchar_t* kTransformFailed = L"Error transforming POS point to target SRS.";
constexpr const wchar_t* kUnexpectedError = L"Unexpected error scanning POS file.";
constexpr const wchar_t* kUnexpectedTransformError = L"Unexpected error transforming POS events.";

// WGS 84 with heights above the ellipsoid (vertical datum class 2002).
constexpr const wchar_t* kWgs84Wkt =
    LR"wkt(COMPD_CS["WGS 84 + Ellipsoid(Meters)",GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,)wkt"
    LR"wkt(298.257223563,AUTHORITY["EPSG","7030"]],AUTHORITY["EPSG","6326"]],PRIMEM["Greenwich",0,)wkt"
    LR"wkt(AUTHORITY["EPSG","8901"]],UNIT["degree",0.0174532925199433,AUTHORITY["EPSG","9122"]],)wkt"
    LR"wkt(AXIS["Latitude",NORTH],AXIS["Longitude",EAST],AUTHORITY["EPSG","4326"]],)wkt"
    LR"wkt(VERT_CS["Ellipsoid(Meters)",VERT_DATUM["Ellipsoid",2002],UNIT["metre",1,AUTHORITY["EPSG","9001"]],)wkt"
    LR"wkt(AXIS["Up",UP]]])wkt";

// Transforms positions from WGS 84 to the target.
class Transformation {
 public:
  // @return false when the target cannot be used; `error` says why
  bool SetUp(const std::wstring& targetWkt, std::wstring& error) {
    std::wstring message;
    const std::wstring sourceWkt = transformer_.PrepareVerticalWkt(kWgs84Wkt);
    const int result = transformer_.Setup(sourceWkt, transformer_.PrepareVerticalWkt(targetWkt), message);
    if (result == CoordinateSystemTransformer::kOk) return true;
    error = kSetUpFailed + message;
    return false;
  }

  // @return false when the position cannot be transformed; the sample is then untouched, and `error` says why
  bool Apply(Event& sample, std::wstring& error) {
    if (ApplyToBlock({&sample, 1})) return true;
    std::wstring message;
    transformer_.GetLastMessage(message);
    error = kTransformFailed + message;
    return false;
  }

  // @return how many samples from the first on were transformed; `error` says why the next one was not
  std::size_t Apply(std::span<Event> samples, std::wstring& error) {
    std::size_t done = 0;
    const auto block = [&] { return samples.subspan(done, std::min(samples.size() - done, kBlock)); };
    if (transformer_.TakesEachPointByItself()) {
      while (done < samples.size() && ApplyToBlock(block())) done += block().size();
    }
    while (done < samples.size() && Apply(samples[done], error)) ++done;
    return done;
  }

 private:
  static constexpr std::size_t kBlock = 256;  // GDAL's work for a call then hardly counts

  // @param samples  at most `kBlock`
  // @return         false when one of them cannot be transformed; all are then untouched
  bool ApplyToBlock(std::span<Event> samples) {
    std::array<double, kBlock> x, y, z;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      x[i] = samples[i].Longitude;
      y[i] = samples[i].Latitude;
      z[i] = samples[i].Height;
    }
    const int count = static_cast<int>(samples.size());
    if (transformer_.Transform(x.data(), y.data(), z.data(), count) != CoordinateSystemTransformer::kOk) return false;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i].X = x[i];
      samples[i].Y = y[i];
      samples[i].Z = z[i];
    }
    return true;
  }

  CoordinateSystemTransformer transformer_;
};

}  // namespace

std::vector<tagKVPosEvent> KVUtilities::ScanKVPosFile(std::wstring posFilePath, std::wstring targetWkt,
                                                      std::wstring& error) try {
  error.clear();
  Transformation transformation;
  if (!transformation.SetUp(targetWkt, error)) return {};
  const kv::QuietErrors quiet;  // once for all points
  kv::TextStream stream(posFilePath);
  kv::PosSampleReader reader;
  std::array<std::string_view, kv::kPosTokens> tokens;
  kv::PosNumbers numbers;
  std::vector<Event> samples;
  for (std::string_view line; stream.ReadLine(line);) {
    const std::span<const std::string_view> found = kv::Tokenise(line, kv::kPosDelimiters, tokens);
    if (found.size() < kv::kPosTokens || !kv::ReadPosNumbers(found, numbers)) continue;
    kv::MakeRoom(samples, line, stream);
    Event& sample = samples.emplace_back();
    reader.Read(found, numbers, sample);
    if (transformation.Apply(sample, error)) continue;
    samples.pop_back();
    break;
  }
  return samples;
} catch (...) {
  kv::Report(error, kUnexpectedError);
  return {};
}

bool KVUtilities::TransformPosEvents(std::vector<tagKVPosEvent>& samples, std::wstring targetWkt,
                                     std::size_t& transformed, std::wstring& error) try {
  error.clear();
  transformed = 0;
  Transformation transformation;
  if (!transformation.SetUp(targetWkt, error)) return false;
  const kv::QuietErrors quiet;  // once for all points
  transformed = transformation.Apply(std::span(samples), error);
  return transformed == samples.size();
} catch (...) {
  kv::Report(error, kUnexpectedTransformError);
  return false;
}
