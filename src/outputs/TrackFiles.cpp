#include "outputs/TrackFiles.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <limits>
#include <string_view>

#include "georef/EventTypes.h"
#include "georef/FixQualities.h"
#include "outputs/Markup.h"
#include "outputs/MissionTables.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

/// Colours that the colour-blind tell apart too; the report and QGIS have the same.
constexpr const char* kSharpStyle = "SYMBOL(c:#0072B2,s:0.8)";
constexpr const char* kBlurredStyle = "SYMBOL(c:#D55E00,s:1.1)";
constexpr const char* kDroppedStyle = "SYMBOL(c:#999999,s:0.8)";

/// A photo, with its height above the geoid; NaN when that is not known.
struct PlacedPhoto {
  PhotoRow row;
  double height;
};

std::vector<PlacedPhoto> PlacedPhotos(const Mission& mission, Exposures wanted, const GeoidSeparations& geoid,
                                      const OutputPaths& paths) {
  std::vector<PlacedPhoto> photos;
  for (PhotoRow& row : PhotoRows(mission, wanted, paths.folder)) {
    const std::size_t event = row.number - 1;
    const double height = row.exposure->event.Altitude;
    const bool isKnown = event < geoid.exposures.size();
    photos.push_back({std::move(row), isKnown ? height - geoid.exposures[event] : kUnknown});
  }
  return photos;
}

void AddVertex(const PlacedPhoto& photo, std::vector<Vertex>& vertices) {
  const tagKVSystemEvent& event = photo.row.exposure->event;
  vertices.push_back({event.Longitude, event.Latitude, photo.height});
}

std::string NameOf(const PlacedPhoto& photo) {
  if (!photo.row.name.empty()) return photo.row.name;
  return fmt::format("camera {}, event {}", CameraOf(photo.row.exposure->event), photo.row.number);
}

/// What a balloon shows, as HTML.
std::string BalloonOf(const PlacedPhoto& photo) {
  const Exposure& exposure = *photo.row.exposure;
  std::string html;
  if (!photo.row.link.empty()) html += fmt::format("<img src=\"{}\" width=\"480\"/><br/>", photo.row.link);
  html += fmt::format("Camera {}, event {}<br/>", CameraOf(exposure.event), photo.row.number);
  if (exposure.time) html += TimeText(*exposure.time) + " UTC<br/>";
  html += fmt::format("{:.7f}, {:.7f}, {:.3f} m above the ellipsoid<br/>", exposure.event.Latitude,
                      exposure.event.Longitude, exposure.event.Altitude);
  if (exposure.quality.quality != PositionQuality::None)
    html += fmt::format("Position: {}<br/>", WordFor(exposure.quality.quality));
  if (exposure.blurred)
    html += fmt::format("Sharpness {:.1f}{}<br/>", exposure.event.Sharpness, *exposure.blurred ? ", blurred" : "");
  if (exposure.drop) html += fmt::format("Dropped: {}<br/>", XmlText(TextOf(*exposure.drop)));
  return html;
}

std::string ModeOf(double height) { return height == height ? "absolute" : "clampToGround"; }

/// GDAL's driver puts text with markup into CDATA sections and does not see where it would end one: a zero-width space
/// prevents that.
std::string KmlText(std::string text) {
  constexpr std::string_view kEnd = "]]>", kParted = "]]\u200B>";
  for (std::size_t at = 0; (at = text.find(kEnd, at)) != text.npos; at += kParted.size())
    text.replace(at, kEnd.size(), kParted);
  return WithoutControls(text);
}

constexpr auto kKmlPhotoFields = std::to_array<Field<PlacedPhoto>>({
    {"Name", "", [](const PlacedPhoto& photo) { return KmlText(NameOf(photo)); }},
    {"description", "", [](const PlacedPhoto& photo) { return BalloonOf(photo); }},
    {"timestamp", "", [](const PlacedPhoto& photo) { return photo.row.exposure->time; }},
    {"altitudeMode", "", [](const PlacedPhoto& photo) { return ModeOf(photo.height); }},
});

std::string StyleOf(const PlacedPhoto& photo) {
  if (photo.row.exposure->drop) return kDroppedStyle;
  return photo.row.exposure->blurred.value_or(false) ? kBlurredStyle : kSharpStyle;
}

const VectorLayer<PlacedPhoto> kKmlPhotos{{"Photos", "", "", Shape::Point}, kKmlPhotoFields, AddVertex, StyleOf};
const VectorLayer<PlacedPhoto> kKmlDropped{
    {"Dropped exposures", "", "", Shape::Point}, kKmlPhotoFields, AddVertex, StyleOf};

/// A stretch of the trajectory, with the heights of the geoid below its fixes.
struct PlacedStretch {
  StretchRow row;
  const double* separations;  ///< null when they are not known
};

constexpr auto kKmlStretchFields = std::to_array<Field<PlacedStretch>>({
    {"Name", "",
     [](const PlacedStretch& stretch) { return TimeText(FromFileTime(stretch.row.fixes->TimeUTC)) + " UTC"; }},
    {"begin", "", [](const PlacedStretch& stretch) { return FromFileTime(stretch.row.fixes->TimeUTC); }},
    {"end", "",
     [](const PlacedStretch& stretch) { return FromFileTime(stretch.row.fixes[stretch.row.count - 1].TimeUTC); }},
    {"altitudeMode", "", [](const PlacedStretch& stretch) { return ModeOf(stretch.separations ? 0 : kUnknown); }},
});

const VectorLayer<PlacedStretch> kKmlTrajectory{
    {"Trajectory", "", "", Shape::Line},
    kKmlStretchFields,
    [](const PlacedStretch& stretch, std::vector<Vertex>& vertices) {
      for (std::size_t i = 0; i < stretch.row.count; ++i) {
        const tagKVTrajectoryObs& fix = stretch.row.fixes[i];
        vertices.push_back(
            {fix.Longitude, fix.Latitude, stretch.separations ? fix.Altitude - stretch.separations[i] : kUnknown});
      }
      if (vertices.size() == 1) vertices.push_back(vertices.front());
    },
    [](const PlacedStretch&) { return std::string("PEN(c:#555555,w:2px)"); }};

double Millimetres(double metres) { return std::round(metres * 1000) / 1000; }

constexpr auto kWaypointFields = std::to_array<Field<PlacedPhoto>>({
    {"ele", "", [](const PlacedPhoto& photo) { return Millimetres(photo.height); }},
    {"name", "", [](const PlacedPhoto& photo) { return WithoutControls(NameOf(photo)); }},
    {"time", "", [](const PlacedPhoto& photo) { return photo.row.exposure->time; }},
    {"desc", "",
     [](const PlacedPhoto& photo) { return fmt::format("camera {}", CameraOf(photo.row.exposure->event)); }},
});
const VectorLayer<PlacedPhoto> kWaypoints{{"waypoints", "", "", Shape::Point}, kWaypointFields, AddVertex};

/// A fix in its segment of the track.
struct TrackPoint {
  FixRow fix;
  std::int64_t segment;
  double separation;  ///< NaN when it is not known
};

constexpr auto kTrackFields = std::to_array<Field<TrackPoint>>({
    {"track_fid", "", [](const TrackPoint&) { return std::int64_t{0}; }},
    {"track_seg_id", "", [](const TrackPoint& point) { return point.segment; }},
    {"time", "", [](const TrackPoint& point) { return FromFileTime(point.fix.fix->TimeUTC); }},
    {"ele", "", [](const TrackPoint& point) { return Millimetres(point.fix.fix->Altitude - point.separation); }},
    {"geoidheight", "", [](const TrackPoint& point) { return Millimetres(point.separation); }},
});
const VectorLayer<TrackPoint> kTrackPoints{
    {"track_points", "", "", Shape::Point}, kTrackFields, [](const TrackPoint& point, std::vector<Vertex>& vertices) {
      const tagKVTrajectoryObs& fix = *point.fix.fix;
      vertices.push_back({fix.Longitude, fix.Latitude, fix.Altitude - point.separation});
    }};

std::vector<TrackPoint> TrackPoints(const Trajectory& trajectory, const std::vector<double>& separations) {
  std::vector<TrackPoint> points;
  std::int64_t segment = 0;
  for (const StretchRow& stretch : StretchRows(trajectory)) {
    const auto first = static_cast<std::size_t>(stretch.fixes - trajectory.fixes.data());
    for (std::size_t i = first; i < first + stretch.count; ++i)
      points.push_back({FixRows(trajectory)[i], segment, i < separations.size() ? separations[i] : kUnknown});
    ++segment;
  }
  return points;
}

}  // namespace

void WriteKml(const Mission& mission, const GeoidSeparations& geoid, const OutputPaths& paths, Job& job) {
  const VectorFile::Format format{.driver = "LIBKML", .layerOptions = {"FOLDER=YES"}};
  VectorFile file(format, paths.staging / kKmlFile, paths.folder / kKmlFile);
  const SystemPtr wgs84 = Wgs84();
  const auto photos = [&](Exposures wanted) { return PlacedPhotos(mission, wanted, geoid, paths); };
  if (mission.HasPhotoLayer()) file.Write(kKmlPhotos, wgs84.get(), photos(Exposures::InPhotoLayer), job);
  file.Write(kKmlDropped, wgs84.get(), photos(Exposures::Dropped), job);
  if (mission.trajectory) {
    const Trajectory& trajectory = *mission.trajectory;
    std::vector<PlacedStretch> stretches;
    for (const StretchRow& row : StretchRows(trajectory))
      stretches.push_back(
          {row, geoid.fixes.empty() ? nullptr : geoid.fixes.data() + (row.fixes - trajectory.fixes.data())});
    file.Write(kKmlTrajectory, wgs84.get(), stretches, job);
  }
  file.Close();
}

void WriteGpx(const Mission& mission, const GeoidSeparations& geoid, const OutputPaths& paths, Job& job) {
  const VectorFile::Format format{.driver = "GPX", .hasFields = false};
  VectorFile file(format, paths.staging / kGpxFile, paths.folder / kGpxFile);
  const SystemPtr wgs84 = Wgs84();
  if (mission.HasPhotoLayer())
    file.Write(kWaypoints, wgs84.get(), PlacedPhotos(mission, Exposures::InPhotoLayer, geoid, paths), job);
  if (mission.trajectory) file.Write(kTrackPoints, wgs84.get(), TrackPoints(*mission.trajectory, geoid.fixes), job);
  file.Close();
}

}  // namespace kv::mission
