#include "photos/XmpTags.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace kv::mission {
namespace {

using namespace KVMission;

const XmpNamespace kCamera{
    "Camera", {"http://pix4d.com/camera/1.0", "http://pix4d.com/camera/1.0/", "http://ns.sensefly.com/Camera/1.0/"}};
const XmpNamespace kDrone{"drone-dji", {"http://www.dji.com/drone-dji/1.0/"}};
const XmpNamespace kExif{"exif", {"http://ns.adobe.com/exif/1.0/"}};

/// The value of a property; empty when it is not known.
using ValueOf = std::string (*)(const Geotag&);

std::string Decimal(double number, int decimals) {
  return std::isfinite(number) ? fmt::format("{:.{}f}", number, decimals) : "";
}
std::string Sigma(float metres) { return metres >= 0 ? Decimal(metres, 4) : ""; }

std::string Heading(const Geotag& geotag) { return geotag.attitude ? Decimal(HeadingOf(*geotag.attitude), 4) : ""; }
std::string Pitch(const Geotag& geotag) {
  return geotag.attitude && geotag.isLevelKnown ? Decimal(geotag.attitude->pitch, 4) : "";
}
std::string Roll(const Geotag& geotag) {
  return geotag.attitude && geotag.isLevelKnown ? Decimal(geotag.attitude->roll, 4) : "";
}
std::string Horizontal(const Geotag& geotag) { return Sigma(geotag.quality.horizontalSigma); }
std::string Vertical(const Geotag& geotag) { return Sigma(geotag.quality.verticalSigma); }
std::string Latitude(const Geotag& geotag) { return Decimal(geotag.latitude, 9); }
std::string Longitude(const Geotag& geotag) { return Decimal(geotag.longitude, 9); }
std::string Height(const Geotag& geotag) { return Decimal(geotag.height, 4); }
std::string None(const Geotag&) { return {}; }

/// The state of the receiver in the drone's terms.
std::string RtkFlag(const Geotag& geotag) {
  switch (geotag.quality.quality) {
    case PositionQuality::Single:
      return "16";
    case PositionQuality::Float:
      return "34";
    case PositionQuality::Fixed:
      return "50";
    default:
      return {};
  }
}

enum class When {
  Always,
  WhereFound,  ///< a drone's own place, which readers prefer to that of the EXIF data
  NoGimbal,    ///< unless the photo says by itself where its camera looked
  Attitude,    ///< likewise where the attitude is not known
};
struct Row {
  const XmpNamespace& space;
  const char* name;
  ValueOf value;
  When when = When::Always;
};
const std::array kRows{
    Row{kCamera, "Yaw", Heading, When::NoGimbal},
    Row{kCamera, "Pitch", Pitch, When::NoGimbal},
    Row{kCamera, "Roll", Roll, When::NoGimbal},
    Row{kCamera, "GPSXYAccuracy", Horizontal},
    Row{kCamera, "GPSZAccuracy", Vertical},
    Row{kDrone, "FlightYawDegree", Heading, When::Attitude},
    Row{kDrone, "FlightPitchDegree", Pitch, When::Attitude},
    Row{kDrone, "FlightRollDegree", Roll, When::Attitude},
    Row{kDrone, "RtkStdLon", Horizontal},
    Row{kDrone, "RtkStdLat", Horizontal},
    Row{kDrone, "RtkStdHgt", Vertical},
    Row{kDrone, "RtkFlag", RtkFlag, When::WhereFound},
    Row{kDrone, "GpsLatitude", Latitude, When::WhereFound},
    Row{kDrone, "GpsLongitude", Longitude, When::WhereFound},
    Row{kDrone, "GpsLongtitude", Longitude, When::WhereFound},  // so written by some drones
    Row{kDrone, "Latitude", Latitude, When::WhereFound},
    Row{kDrone, "Longitude", Longitude, When::WhereFound},
    Row{kDrone, "AbsoluteAltitude", Height, When::WhereFound},
    Row{kDrone, "AltitudeType", None},  // of the height that is replaced
};

/// Copies of GPS tags that some programs keep in XMP: they are old, and EXIF has the new ones.
constexpr std::array kExifCopies{"GPSVersionID",   "GPSLatitude",     "GPSLongitude",        "GPSAltitudeRef",
                                 "GPSAltitude",    "GPSTimeStamp",    "GPSSatellites",       "GPSStatus",
                                 "GPSMeasureMode", "GPSDOP",          "GPSImgDirection",     "GPSImgDirectionRef",
                                 "GPSMapDatum",    "GPSDifferential", "GPSHPositioningError"};

}  // namespace

bool HasOwnAttitude(const XmpPacket& packet) { return packet.Has(kDrone, "GimbalPitchDegree"); }

void SetXmpTags(const Geotag& geotag, XmpPacket& packet) {
  const bool hasOwnAttitude = HasOwnAttitude(packet);
  for (const auto& [space, name, valueOf, when] : kRows) {
    if (hasOwnAttitude && (when == When::NoGimbal || (when == When::Attitude && !geotag.attitude))) continue;
    if (when == When::WhereFound && !packet.Has(space, name)) continue;
    const std::string value = valueOf(geotag);
    value.empty() ? packet.Remove(space, name) : packet.Set(space, name, value);
  }
  for (const char* name : kExifCopies) packet.Remove(kExif, name);
}

bool MayHoldXmpTags(std::string_view moreXmp) {
  const auto isNamed = [&](std::string_view name) { return moreXmp.find(name) != moreXmp.npos; };
  return std::any_of(kCamera.names.begin(), kCamera.names.end(), isNamed) || isNamed(kDrone.names.front());
}

}  // namespace kv::mission
