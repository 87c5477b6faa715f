#include "readers/GpxTrack.h"

#include <fmt/format.h>
#include <gdal.h>
#include <ogr_api.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "crs/QuietErrors.h"
#include "platform/FileNames.h"
#include "text/Blanks.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

struct CloseDataset {
  void operator()(GDALDatasetH dataset) const { GDALClose(dataset); }
};
using DatasetPtr = std::unique_ptr<std::remove_pointer_t<GDALDatasetH>, CloseDataset>;

struct DestroyFeature {
  void operator()(OGRFeatureH feature) const { OGR_F_Destroy(feature); }
};
using FeaturePtr = std::unique_ptr<std::remove_pointer_t<OGRFeatureH>, DestroyFeature>;

[[noreturn]] void Refuse(const std::filesystem::path& path, const std::string& why) {
  throw Failure(fmt::format("{}: {}", Utf8(path), why));
}

/// The driver goes on after an error, and takes 0 for what is not a number, which it only warns of.
void RefuseAfterError(const std::filesystem::path& path) {
  if (CPLGetLastErrorType() >= CE_Warning) Refuse(path, fmt::format("cannot be read: {}", CPLGetLastErrorMsg()));
}

DatasetPtr Open(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) Refuse(path, "not a regular file");
  GDALAllRegister();
  if (!GDALGetDriverByName("GPX")) Refuse(path, "a GPX file, and the installed GDAL has no driver for it");
  const char* const drivers[] = {"GPX", nullptr};
  const char* const siblings[] = {nullptr};  // the folder need not be listed
  const auto name = std::filesystem::absolute(path).u8string();
  CPLErrorReset();
  DatasetPtr dataset(GDALOpenEx(reinterpret_cast<const char*>(name.c_str()),
                                GDAL_OF_VECTOR | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR, drivers, nullptr, siblings));
  if (CPLGetLastErrorType() >= CE_Failure) Refuse(path, fmt::format("cannot be read: {}", CPLGetLastErrorMsg()));
  if (!dataset) Refuse(path, "cannot be read as GPX");
  return dataset;
}

/// The fields of a point that are looked for.
struct Fields {
  explicit Fields(OGRLayerH layer) : definition(OGR_L_GetLayerDefn(layer)) {}

  int At(const char* name) const { return OGR_FD_GetFieldIndex(definition, name); }
  static bool Has(OGRFeatureH point, int field) { return field >= 0 && OGR_F_IsFieldSetAndNotNull(point, field); }

  OGRFeatureDefnH definition;  // first: the others look there
  int track = At("track_fid"), segment = At("track_seg_id"), elevation = At("ele"), time = At("time");
  int geoidHeight = At("geoidheight"), fix = At("fix"), satellites = At("sat"), hdop = At("hdop");
};

/// A time without a zone is UTC, as the format has it.
std::optional<Instant> TimeOf(OGRFeatureH point, int field) {
  constexpr int kUtc = 100;  // flags of zones count quarters of an hour from there
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, zone = 0;
  float second = 0;
  if (!Fields::Has(point, field) ||
      !OGR_F_GetFieldAsDateTimeEx(point, field, &year, &month, &day, &hour, &minute, &second, &zone))
    return std::nullopt;
  const auto begin = FromFields(year, month, day, hour, minute, 0);
  if (!begin || !(second >= 0 && second < 61)) return std::nullopt;
  const auto fraction = FileTimeTicks{std::llround(static_cast<double>(second) * 1e4) * 1000};  // a float's accuracy
  return *begin + fraction - std::chrono::minutes{zone > 1 ? 15 * (zone - kUtc) : 0};
}

FixQuality QualityOf(OGRFeatureH point, const Fields& fields, const std::string& fix) {
  constexpr int kMostSatellites = std::numeric_limits<std::uint16_t>::max();
  FixQuality quality;
  if (fix == "dgps") quality.quality = PositionQuality::Dgps;
  if (fix == "3d" || fix == "pps") quality.quality = PositionQuality::Single;
  if (Fields::Has(point, fields.satellites))
    quality.satellites =
        static_cast<std::uint16_t>(std::clamp(OGR_F_GetFieldAsInteger(point, fields.satellites), 0, kMostSatellites));
  const double hdop = Fields::Has(point, fields.hdop) ? OGR_F_GetFieldAsDouble(point, fields.hdop) : 0;
  if (hdop > 0 && hdop < 1e6) quality.hdop = static_cast<float>(hdop);
  return quality;
}

GpxPoint PointOf(OGRFeatureH feature, const Fields& fields) {
  const auto number = [&](int field) {
    return Fields::Has(feature, field) ? OGR_F_GetFieldAsDouble(feature, field) : GpxPoint::kUnknown;
  };
  const std::string fix = Fields::Has(feature, fields.fix) ? OGR_F_GetFieldAsString(feature, fields.fix) : "";
  GpxPoint point;
  if (const OGRGeometryH place = OGR_F_GetGeometryRef(feature))
    point.latitude = OGR_G_GetY(place, 0), point.longitude = OGR_G_GetX(place, 0);
  point.elevation = number(fields.elevation), point.geoidHeight = number(fields.geoidHeight);
  point.time = TimeOf(feature, fields.time);
  point.hasFix = fix != "none" && fix != "2d";
  point.quality = QualityOf(feature, fields, fix);
  return point;
}

/// Segments by the numbers of track and segment.
using Segments = std::map<std::pair<int, int>, std::vector<GpxPoint>>;

/// Puts them in the order of the first time in each; those without one come first.
std::vector<GpxPoint> Joined(Segments&& segments) {
  std::vector<std::pair<std::optional<Instant>, std::vector<GpxPoint>>> byTime;
  std::size_t count = 0;
  for (auto& [number, points] : segments) {
    const auto timed = std::find_if(points.begin(), points.end(), [](const GpxPoint& point) { return point.time; });
    count += points.size();
    byTime.emplace_back(timed == points.end() ? std::nullopt : timed->time, std::move(points));
  }
  std::stable_sort(byTime.begin(), byTime.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<GpxPoint> all;
  all.reserve(count);
  for (const auto& [time, points] : byTime) all.insert(all.end(), points.begin(), points.end());
  return all;
}

std::size_t CountIn(GDALDatasetH dataset, const char* layer) {
  const OGRLayerH found = GDALDatasetGetLayerByName(dataset, layer);
  return found ? static_cast<std::size_t>(std::max<GIntBig>(0, OGR_L_GetFeatureCount(found, TRUE))) : 0;
}

}  // namespace

bool BeginsLikeGpx(std::string_view head) {
  head = WithoutByteOrderMark(head);
  const auto begin = head.find_first_not_of(" \t\r\n");
  const auto root = head.find("<gpx");
  constexpr std::size_t kName = 4;
  return begin != std::string_view::npos && head[begin] == '<' && root != std::string_view::npos &&
         root + kName < head.size() && std::string_view(" \t\r\n>/").find(head[root + kName]) != std::string_view::npos;
}

GpxTracks ReadGpxTracks(const std::filesystem::path& path, Job& job) {
  const QuietErrors quiet;
  const DatasetPtr dataset = Open(path);
  GpxTracks tracks;
  tracks.tracks = CountIn(dataset.get(), "tracks");
  tracks.others = CountIn(dataset.get(), "waypoints") + CountIn(dataset.get(), "route_points");
  const OGRLayerH layer = GDALDatasetGetLayerByName(dataset.get(), "track_points");
  if (!layer) return tracks;
  const Fields fields(layer);
  Segments segments;
  Meter meter(job, "reading the trajectory", "points");
  CPLErrorReset();
  for (std::size_t count = 1;; ++count) {
    const FeaturePtr point(OGR_L_GetNextFeature(layer));
    if (!point) break;
    if (count % 1024 == 1) job.ThrowIfStopped();
    meter.Step(count, 0);
    const std::pair number{OGR_F_GetFieldAsInteger(point.get(), fields.track),
                           OGR_F_GetFieldAsInteger(point.get(), fields.segment)};
    segments[number].push_back(PointOf(point.get(), fields));
  }
  RefuseAfterError(path);
  tracks.segments = segments.size();
  tracks.points = Joined(std::move(segments));
  return tracks;
}

}  // namespace kv::mission
