#include "outputs/photogrammetry/Photogrammetry.h"

#include <cpl_conv.h>
#include <fmt/format.h>
#include <ogr_srs_api.h>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "crs/QuietErrors.h"
#include "outputs/VectorFile.h"

namespace kv::mission {
namespace {

/// What all photos of a camera have.
struct Columns {
  explicit Columns(const CameraPlaces& camera) {
    for (const PhotoPlace& photo : camera.photos) {
      angles = angles && photo.attitude;
      accuracies = accuracies && photo.horizontal && photo.vertical;
    }
  }
  bool angles = true, accuracies = true;
};

/// Coordinates good to 0.1 mm.
std::string Coordinate(double value, bool isGeographic) {
  return isGeographic ? fmt::format("{:.9f}", value) : fmt::format("{:.4f}", value);
}

std::string Angles(const Attitude& attitude, char delimiter) {
  return fmt::format("{:.4f}{}{:.4f}{}{:.4f}", attitude.heading, delimiter, attitude.pitch, delimiter, attitude.roll);
}

std::string Accuracies(const PhotoPlace& photo, char delimiter) {
  return fmt::format("{:.4f}{}{:.4f}", *photo.horizontal, delimiter, *photo.vertical);
}

bool HasAccuracies(const PhotoPlace& photo) { return photo.horizontal && photo.vertical; }

/// As JSON has it.
std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') quoted += '\\';
    byte < 0x20 ? quoted += fmt::format("\\u{:04x}", byte) : quoted += c;
  }
  return quoted + '"';
}

bool HasNone(const std::string& name, const char* characters) {
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
  return name.find_first_of(characters) == name.npos && std::none_of(name.begin(), name.end(), isControl) &&
         !name.starts_with('#');
}

}  // namespace

std::string OdmGeoText(const CameraPlaces& camera) {
  std::string text = camera.system + '\n';
  for (const PhotoPlace& photo : camera.photos) {
    text += fmt::format("{} {} {} {:.4f}", photo.name, Coordinate(photo.x, camera.isGeographic),
                        Coordinate(photo.y, camera.isGeographic), photo.z);
    if (photo.attitude) {
      text += ' ' + Angles(*photo.attitude, ' ');
    } else if (HasAccuracies(photo)) {
      text += " nan nan nan";
    }
    if (HasAccuracies(photo)) text += ' ' + Accuracies(photo, ' ');
    text += '\n';
  }
  return text;
}

std::string MetashapeText(const CameraPlaces& camera) {
  std::string text = fmt::format("# {}, {}\n#Label,{},Yaw,Pitch,Roll,Accuracy XY,Accuracy Z\n", camera.system,
                                 camera.heights, camera.isGeographic ? "Longitude,Latitude,Altitude" : "X,Y,Z");
  for (const PhotoPlace& photo : camera.photos)
    text += fmt::format("{},{},{},{:.4f},{},{}\n", photo.name, Coordinate(photo.x, camera.isGeographic),
                        Coordinate(photo.y, camera.isGeographic), photo.z,
                        photo.attitude ? Angles(*photo.attitude, ',') : ",,",
                        HasAccuracies(photo) ? Accuracies(photo, ',') : ",");
  return text;
}

std::string Pix4dText(const CameraPlaces& camera) {
  const Columns columns(camera);
  std::string text = fmt::format("#imagename,{}{}{}\n", camera.isGeographic ? "latitude,longitude,altitude" : "X,Y,Z",
                                 columns.angles ? ",yaw,pitch,roll" : "",
                                 columns.accuracies ? ",accuracy horizontal,accuracy vertical" : "");
  for (const PhotoPlace& photo : camera.photos) {
    const double first = camera.isGeographic ? photo.y : photo.x, second = camera.isGeographic ? photo.x : photo.y;
    text += fmt::format("{},{},{},{:.4f}", photo.name, Coordinate(first, camera.isGeographic),
                        Coordinate(second, camera.isGeographic), photo.z);
    if (columns.angles) text += ',' + Angles(*photo.attitude, ',');
    if (columns.accuracies) text += ',' + Accuracies(photo, ',');
    text += '\n';
  }
  return text;
}

std::string OpensfmText(const CameraPlaces& camera) {
  std::string text = "{";
  for (const PhotoPlace& photo : camera.photos) {
    text += fmt::format("{}\n  {}: {{\"gps\": {{\"latitude\": {:.9f}, \"longitude\": {:.9f}, \"altitude\": {:.4f}",
                        &photo == &camera.photos.front() ? "" : ",", Quoted(photo.name), photo.latitude,
                        photo.longitude, photo.height);
    if (photo.horizontal) text += fmt::format(", \"dop\": {:.4f}", *photo.horizontal);
    text += '}';
    if (photo.time)
      text += fmt::format(
          ", \"capture_time\": {:.3f}",
          std::chrono::duration<double>(std::chrono::floor<std::chrono::milliseconds>(*photo.time).time_since_epoch())
              .count());
    text += '}';
  }
  return text + "\n}\n";
}

std::string MissionPlannerText(const CameraPlaces& camera) {
  std::string text = "#name latitude/Y longitude/X height/Z yaw pitch roll\n";
  for (const PhotoPlace& photo : camera.photos)
    text += fmt::format("{} {:.9f} {:.9f} {:.4f}{}\n", photo.name, photo.latitude, photo.longitude, photo.height,
                        photo.attitude ? ' ' + Angles(*photo.attitude, ' ') : "");
  return text;
}

bool FitsBlanks(const std::string& name) {
  // Readers part lines at any of Unicode's blanks.
  constexpr const char* kBlanks[] = {"\u0085", "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003",
                                     "\u2004", "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A",
                                     "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"};
  const auto holds = [&](const char* blank) { return name.find(blank) != name.npos; };
  return HasNone(name, " ") && std::none_of(std::begin(kBlanks), std::end(kBlanks), holds);
}

bool FitsCommas(const std::string& name) { return HasNone(name, ",\""); }

std::string SystemText(const std::string& wkt) {
  const SystemPtr system = SystemOf(wkt);
  const QuietErrors quiet;
  OSRStripVertical(system.get());
  OSRAutoIdentifyEPSG(system.get());
  const char* authority = OSRGetAuthorityName(system.get(), nullptr);
  const char* code = OSRGetAuthorityCode(system.get(), nullptr);
  if (authority && code && std::string_view(authority) == "EPSG") return fmt::format("EPSG:{}", code);
  char* proj = nullptr;
  std::string text;
  if (OSRExportToProj4(system.get(), &proj) == OGRERR_NONE && proj) text = proj;
  CPLFree(proj);
  text.erase(std::find_if(text.rbegin(), text.rend(), [](char c) { return c != ' '; }).base(), text.end());
  return text;
}

}  // namespace kv::mission
