#pragma once

/// Places on the ellipsoid of WGS 84, as degrees and as metres from the Earth's centre.
namespace kv::mission {

struct Geodetic {
  double latitude = 0, longitude = 0;  ///< degrees
  double height = 0;                   ///< metres above the ellipsoid
};

/// Earth-centred, Earth-fixed; metres.
struct Ecef {
  double x = 0, y = 0, z = 0;

  friend bool operator==(const Ecef&, const Ecef&) = default;
};

/// Metres along a place's own axes.
struct EastNorthUp {
  double east = 0, north = 0, up = 0;
};

Ecef ToEcef(const Geodetic& place);
Geodetic ToGeodetic(const Ecef& point);

/// The point that lies away from another one by metres along the axes of that one's place.
Ecef Moved(const Ecef& from, const EastNorthUp& by);

/// The way from one point to another along the axes of the first one's place.
EastNorthUp Between(const Ecef& from, const Ecef& to);

/// Whether the distance from the Earth's centre lies between the deepest shaft at a pole and the highest balloon over the
/// equator.
bool IsNearTheGround(const Ecef& point);

}  // namespace kv::mission
