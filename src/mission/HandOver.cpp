#include "mission/HandOver.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <utility>

#include "base/Writing.h"
#include "georef/EventTypes.h"
#include "mission/PosPoints.h"
#include "mission/inputs/GeoidHeights.h"
#include "outputs/photogrammetry/Photogrammetry.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

std::string TextOf(const CStringW& text) { return Utf8(std::wstring(text.GetString())); }

/// A format of a program.
struct Format {
  OutputKind kind;
  const char* file;
  std::string (*text)(const CameraPlaces&);
  bool (*fits)(const std::string& name);  ///< null when any name does
  bool takesTarget;                       ///< else places are in WGS 84
};

constexpr auto kFormats = std::to_array<Format>({
    {{"odm", "OpenDroneMap: geo.txt", false}, "geo.txt", OdmGeoText, FitsBlanks, true},
    {{"metashape", "Metashape: metashape.csv", false}, "metashape.csv", MetashapeText, FitsCommas, true},
    {{"pix4d", "Pix4D: pix4d.csv", false}, "pix4d.csv", Pix4dText, FitsCommas, true},
    {{"opensfm", "OpenSfM: exif_overrides.json", false}, "exif_overrides.json", OpensfmText, nullptr, false},
    {{"missionplanner", "Mission Planner: location.txt", false}, "location.txt", MissionPlannerText, FitsBlanks, false},
});

std::string NameOf(const tagKVSystemEvent& event) { return Utf8(NativePath(event.PhotoPath.GetString()).filename()); }

std::optional<double> MaybeSigma(float sigma) {
  return std::isfinite(sigma) ? std::optional<double>(sigma) : std::nullopt;
}

PhotoPlace PlaceOf(const Exposure& exposure) {
  const tagKVSystemEvent& event = exposure.event;
  PhotoPlace place;
  place.name = NameOf(event);
  place.x = place.longitude = event.Longitude, place.y = place.latitude = event.Latitude;
  place.z = place.height = event.Altitude;
  if (exposure.attitudeQuality != AttitudeQuality::Track) place.attitude = exposure.attitude;
  place.horizontal = MaybeSigma(exposure.quality.horizontalSigma);
  place.vertical = MaybeSigma(exposure.quality.verticalSigma);
  place.time = exposure.time;
  return place;
}

/// The photos of a camera, each once, as their first event has it.
CameraPlaces PlacesOf(const Mission& mission, int camera) {
  CameraPlaces places;
  places.system = "EPSG:4326", places.heights = "heights above the ellipsoid";
  std::set<fs::path> names;
  for (const Exposure& exposure : mission.exposures) {
    if (exposure.drop || CameraOf(exposure.event) != camera || exposure.event.PhotoPath.IsEmpty()) continue;
    if (names.insert(NativePath(exposure.event.PhotoPath.GetString())).second)
      places.photos.push_back(PlaceOf(exposure));
  }
  return places;
}

std::vector<tagKVPosEvent> PointsOf(const CameraPlaces& camera) {
  std::vector<tagKVPosEvent> points(camera.photos.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    const PhotoPlace& photo = camera.photos[i];
    points[i].Latitude = photo.latitude, points[i].Longitude = photo.longitude, points[i].Height = photo.height;
  }
  return points;
}

void MoveToGeoid(CameraPlaces& camera) {
  auto points = PointsOf(camera);
  LeaveEllipsoid(points);
  for (std::size_t i = 0; i < points.size(); ++i) camera.photos[i].z = camera.photos[i].height = points[i].Height;
  camera.heights = "heights above the geoid EGM96";
}

void MoveToTarget(const std::string& target, CameraPlaces& camera) {
  const tagKVCoordinateSystem system = ReadTargetSystem(target);
  auto points = PointsOf(camera);
  std::wstring error;
  std::size_t transformed = 0;
  if (!points.empty() && !KVUtilities::TransformPosEvents(points, system.Wkt.GetString(), transformed, error))
    throw Failure(
        fmt::format("{} cannot be transformed to {}: {}", camera.photos[transformed].name, target, Utf8(error)));
  for (std::size_t i = 0; i < points.size(); ++i) {
    PhotoPlace& photo = camera.photos[i];
    photo.x = points[i].X, photo.y = points[i].Y, photo.z = points[i].Z;
    if (system.IsNorthingFirst) std::swap(photo.x, photo.y);
  }
  camera.isGeographic = system.IsGeographic, camera.heights = HeightsText(system);
  camera.system = SystemText(TextOf(system.Wkt));
  if (camera.system.empty())
    throw Failure(fmt::format("target {}: neither an EPSG code nor a PROJ string tells this system to other programs",
                              TextOf(system.Name)));
}

/// A name that is not UTF-8 would name no photo.
bool IsMisfit(const Format& format, const PhotoPlace& photo) {
  return (format.fits && !format.fits(photo.name)) || photo.name.find("\xEF\xBF\xBD") != photo.name.npos;
}

void Write(const Format& format, const Mission& mission, const OutputFolder& output) {
  const Settings& settings = mission.settings;
  for (const int number : {1, 2}) {
    CameraPlaces camera = PlacesOf(mission, number);
    if (camera.photos.empty()) continue;
    if (settings.heights == Heights::Geoid) MoveToGeoid(camera);
    if (!settings.target.empty() && format.takesTarget) MoveToTarget(settings.target, camera);
    std::erase_if(camera.photos, [&](const PhotoPlace& photo) { return IsMisfit(format, photo); });
    const std::string folder = fmt::format("cam{}", number);
    std::error_code error;
    fs::create_directory(output.Staging() / folder, error);
    if (error) FailWriting(output.Path() / folder, error);
    WriteFile(output.Staging() / folder / format.file, format.text(camera), false,
              output.Path() / folder / format.file);
  }
}

template <std::size_t... kIndexes>
std::vector<OutputRow> RowsOf(std::index_sequence<kIndexes...>) {
  const auto row = [](const Format& format, auto write) {
    const std::string file = format.file;
    return OutputRow{format.kind, {.files = {"cam1/" + file, "cam2/" + file}}, write, true};
  };
  return {row(kFormats[kIndexes], [](const Mission& mission, const OutputFolder& output, Job&) {
    Write(kFormats[kIndexes], mission, output);
  })...};
}

}  // namespace

const std::vector<OutputRow>& PhotogrammetryRows() {
  static const auto rows = RowsOf(std::make_index_sequence<kFormats.size()>());
  return rows;
}

void TellOfHandOver(const Mission& mission, Job& job) {
  const auto isWanted = [&](const Format& format) { return IsWanted(format.kind.name, mission.settings); };
  if (std::none_of(kFormats.begin(), kFormats.end(), isWanted) || !HasPlacedPhotos(mission)) return;
  std::size_t angles = 0;
  for (const int number : {1, 2}) {
    const auto photos = PlacesOf(mission, number).photos;
    for (const Format& format : kFormats) {
      const auto isMisfit = [&](const PhotoPlace& photo) { return IsMisfit(format, photo); };
      const auto misfit = std::find_if(photos.begin(), photos.end(), isMisfit);
      if (!isWanted(format) || misfit == photos.end()) continue;
      const auto count = static_cast<std::size_t>(std::count_if(photos.begin(), photos.end(), isMisfit));
      job.Add(
          Found::PhotoNamesUnfit,
          {{"file", fmt::format("cam{}/{}", number, format.file)}, {"count", Count(count)}, {"photo", misfit->name}},
          {.camera = number, .photo = misfit->name});
    }
    angles += static_cast<std::size_t>(
        std::count_if(photos.begin(), photos.end(), [](const PhotoPlace& photo) { return photo.attitude; }));
  }
  if (angles > 0) job.Add(Found::AnglesOfSensor, {{"count", Count(angles)}});
}

void CheckHeights(const Settings& settings) {
  if (settings.heights == Heights::Geoid && !settings.target.empty())
    throw Failure("--target says what heights are above: give it or --heights geoid", Failure::Reason::WrongUsage);
}

}  // namespace kv::mission
