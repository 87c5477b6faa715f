#pragma once

#include <span>

/// What layers look like in QGIS: docs/formats/qgis.md.
namespace kv::mission {

/// A symbol. Colours can be told apart by colour-blind people; the one of blurred photos has no other meaning.
struct Look {
  const char* shape;   ///< of a marker, or the pattern of a line; null for the shape of the camera
  const char* fill;    ///< of a marker
  const char* stroke;  ///< outline of a marker, or the colour of a line
  double width;        ///< of the stroke, millimetres
  double size;         ///< of a marker, millimetres
};

/// A line of the legend.
struct Rule {
  const char* label;
  const char* filter;  ///< expression with the names of columns in braces; at most one rule holds for a feature
  Look look;
};

enum class Symbol { Marker, Line };
enum class When { Instant, Span };

/// How a layer is drawn and what it tells at the mouse pointer. Names in braces are columns, which GeoPackage and
/// Shapefile sets call differently.
struct LayerLook {
  Symbol symbol;
  std::span<const Rule> rules;
  When when;
  const char* facts;           ///< expressions; what is NULL is left out
  const char* photos[2] = {};  ///< expressions of paths
  const char* order = "0";     ///< expression; the features with the largest values are drawn last
  bool byCamera = false;       ///< rules once for each camera
};

struct NamedLook {
  const char* layer;
  const LayerLook* look;
};
extern const std::span<const NamedLook> kGeoPackageLooks, kShapefileLooks;

/// The markers of camera 1 and 2. Both can be seen in one place.
struct CameraMarker {
  const char* shape;
  double size;  ///< share of the look's
};
inline constexpr CameraMarker kCameraMarkers[] = {{"circle", 1}, {"triangle", 0.6}};

}  // namespace kv::mission
