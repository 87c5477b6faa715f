#include "outputs/QgisStyles.h"

#include <fmt/args.h>
#include <fmt/format.h>
#include <qgis.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>
#include <vector>

#include "outputs/Markup.h"
#include "outputs/MissionLayers.h"
#include "outputs/QgisLooks.h"

namespace kv::mission {
namespace {

/// What a kind of file calls the columns of `LayerLook`: expressions of QGIS.
using Columns = fmt::dynamic_format_arg_store<fmt::format_context>;
Columns ColumnsOf(std::initializer_list<std::pair<const char*, std::string>> expressions) {
  Columns columns;
  for (const auto& [name, expression] : expressions) columns.push_back(fmt::arg(name, expression));
  return columns;
}

std::string Filled(const char* text, const Columns& columns) { return fmt::vformat(text, columns); }

std::string Beside(const char* column) {
  return fmt::format("file_path(layer_property(@layer, 'path')) || '/' || \"{}\"", column);
}
std::string Dated(const char* column) {
  return fmt::format("format_date(\"{}\", 'yyyy-MM-dd hh:mm:ss') || ' UTC'", column);
}

Columns GeoPackageColumns() {
  return ColumnsOf({{"photo", "\"photo\""},
                    {"camera", "\"camera\""},
                    {"time", Dated("time")},
                    {"first", Dated("first")},
                    {"last", Dated("last")},
                    {"blurred", "\"blurred\""},
                    {"sharpness", "\"sharpness\""},
                    {"rank", "\"sharpness_percentile\""},
                    {"sharp", "NOT \"blurred\""},
                    {"lower", "25"},
                    {"middle", "50"},
                    {"upper", "75"},
                    {"quality", "\"position_quality\""},
                    {"photo_path", Beside("photo_relative")},
                    {"photo1_path", Beside("photo1_relative")},
                    {"photo2_path", Beside("photo2_relative")},
                    {"exposures", "\"exposures\""},
                    {"type", "\"type\""},
                    {"text", "\"text\""}});
}

/// An expression for a number of the camera's sharpness, as the run found it; NULL without one.
template <class Number>
std::string OfCamera(const Mission& mission, Number numberOf) {
  std::string numbers[] = {"NULL", "NULL"};
  for (const Camera& camera : mission.cameras) {
    if (camera.sharpness && camera.sharpness->distribution)
      numbers[camera.number == 2] = fmt::format("{}", numberOf(*camera.sharpness->distribution));
  }
  return fmt::format("array({}, {})[\"CameraID\" - 1]", numbers[0], numbers[1]);
}

/// Shapefile sets have neither ranks nor marks of blurred photos. A sharpness of 0 is unknown.
Columns ShapefileColumns(const Mission& mission) {
  using Distribution = SharpnessSummary::Distribution;
  const std::string limit =
      OfCamera(mission, [&](const Distribution& all) { return mission.settings.blurFactor * all.median; });
  const auto hasPlace = [](int camera) {
    return fmt::format("to_int(\"Cam{0}Lat\" <> 0 OR \"Cam{0}Lon\" <> 0)", camera);
  };
  return ColumnsOf({{"photo", "file_name(\"PhotoPath\")"},
                    {"camera", "\"CameraID\""},
                    {"time", "\"TimeUTC\" || ' UTC'"},
                    {"first", "\"TimeStart\" || ' UTC'"},
                    {"last", "\"TimeEnd\" || ' UTC'"},
                    {"blurred", fmt::format("\"Sharpness\" > 0 AND \"Sharpness\" < {}", limit)},
                    {"sharp", fmt::format("\"Sharpness\" > 0 AND \"Sharpness\" >= {}", limit)},
                    {"sharpness", "nullif(\"Sharpness\", 0)"},
                    {"rank", "\"Sharpness\""},
                    {"lower", OfCamera(mission, [](const Distribution& all) { return all.lowerQuartile; })},
                    {"middle", OfCamera(mission, [](const Distribution& all) { return all.median; })},
                    {"upper", OfCamera(mission, [](const Distribution& all) { return all.upperQuartile; })},
                    {"quality", "lower(\"POSQuality\")"},
                    {"photo_path", "\"PhotoPath\""},
                    {"photo1_path", "\"Cam1Path\""},
                    {"photo2_path", "\"Cam2Path\""},
                    {"exposures", hasPlace(1) + " + " + hasPlace(2)},
                    {"type", "\"Type\""},
                    {"text", "\"Desc\""}});
}

/// A QGIS expression for text inside HTML.
std::string Escaped(const std::string& expression) {
  return fmt::format(
      "replace({}, array('&', '<', '>', '\"', '\'\'', char(10)), "
      "array('&amp;', '&lt;', '&gt;', '&quot;', '&#39;', '<br>'))",
      expression);
}

/// A QGIS expression for the URL of a file, which may stand inside HTML.
std::string Url(const std::string& path) {
  return fmt::format(
      "'file:///' || replace(regexp_replace({}, '^/', ''), "
      "array('%', '#', '?', '&', '<', '>', '\"', '\'\'', char(9), char(10), char(13)), "
      "array('%25', '%23', '%3F', '%26', '%3C', '%3E', '%22', '%27', '%09', '%0A', '%0D'))",
      path);
}

std::string TipOf(const LayerLook& look, const Columns& columns) {
  const std::string facts = fmt::format("array_to_string(array_filter(array({}), @element IS NOT NULL), char(10))",
                                        Filled(look.facts, columns));
  std::string tip = fmt::format("[% {} %]", Escaped(facts));
  for (const char* photo : look.photos) {
    if (photo) tip += fmt::format("[% '<br><img width=\"400\" src=\"' || {} || '\">' %]", Url(Filled(photo, columns)));
  }
  return tip;
}

/// Rules and their symbols, as they are numbered one after the other.
struct Drawing {
  std::string rules, symbols;

  void Add(const LayerLook& look, const Columns& columns, const CameraMarker& camera) {
    const std::string_view symbol = look.symbol == Symbol::Marker ? qgis::marker_xml : qgis::line_xml;
    for (const Rule& rule : look.rules) {
      const std::size_t number = count_++;
      rules += fmt::format("<rule symbol=\"{}\" filter=\"{}\" label=\"{}\"/>\n", number,
                           XmlText(Filled(rule.filter, columns)), rule.label);
      symbols += fmt::format(fmt::runtime(symbol), fmt::arg("number", number),
                             fmt::arg("shape", rule.look.shape ? rule.look.shape : camera.shape),
                             fmt::arg("fill", rule.look.fill), fmt::arg("stroke", rule.look.stroke),
                             fmt::arg("width", rule.look.width), fmt::arg("size", rule.look.size * camera.size));
    }
  }

 private:
  std::size_t count_ = 0;
};

Drawing DrawingOf(const LayerLook& look, const Columns& columns, const Mission& mission) {
  Drawing drawing;
  if (!look.byCamera) {
    drawing.Add(look, columns, kCameraMarkers[0]);
    return drawing;
  }
  for (const Camera& camera : mission.cameras) {
    drawing.rules +=
        fmt::format("<rule filter=\"{}\" label=\"Camera {}\">\n",
                    XmlText(fmt::format("{} = {}", Filled("{camera}", columns), camera.number)), camera.number);
    drawing.Add(look, columns, kCameraMarkers[camera.number == 2]);
    drawing.rules += "</rule>\n";
  }
  return drawing;
}

std::string StyleOf(const LayerLook& look, const Columns& columns, const std::string& times, const Mission& mission) {
  const Drawing drawing = DrawingOf(look, columns, mission);
  return fmt::format(fmt::runtime(qgis::layer_style_xml), fmt::arg("times", times), fmt::arg("rules", drawing.rules),
                     fmt::arg("symbols", drawing.symbols), fmt::arg("order", XmlText(Filled(look.order, columns))),
                     fmt::arg("tip", XmlText(TipOf(look, columns))));
}

std::string Qml(const std::string& style) {
  return fmt::format(fmt::runtime(qgis::style_qml), fmt::arg("style", style));
}

constexpr auto kStyleFields = std::to_array<Field<StyleRow>>({
    {"f_table_catalog", "", [](const StyleRow&) { return StoredText(); }},
    {"f_table_schema", "", [](const StyleRow&) { return StoredText(); }},  // QGIS does not find NULL
    {"f_table_name", "", [](const StyleRow& row) { return row.layer; }},
    {"f_geometry_column", "", [](const StyleRow&) { return std::string("geom"); }},
    {"styleName", "", [](const StyleRow& row) { return row.layer; }},
    {"styleQML", "", [](const StyleRow& row) { return row.qml; }},
    {"styleSLD", "", [](const StyleRow&) { return StoredText(); }},
    {"useAsDefault", "", [](const StyleRow&) { return true; }},
    {"description", "", [](const StyleRow&) { return StoredText(); }},
    {"owner", "", [](const StyleRow&) { return StoredText(); }},
    {"ui", "", [](const StyleRow&) { return StoredText(); }},
    {"update_time", "", [](const StyleRow& row) { return row.time; }},
});

/// Names of fields for people, which versions of QGIS do not take from the GeoPackage itself.
std::string AliasesOf(std::string_view layer) {
  std::string aliases = "<aliases>\n";
  for (const FieldDefinition& field : FieldsOf(layer))
    aliases += fmt::format("<alias field=\"{}\" name=\"{}\"/>\n", field.name, XmlText(field.alias));
  return aliases + "</aliases>\n";
}

const LayerLook* LookOf(std::span<const NamedLook> looks, std::string_view layer) {
  const auto found = std::find_if(looks.begin(), looks.end(), [&](auto& look) { return look.layer == layer; });
  return found == looks.end() ? nullptr : found->look;
}

}  // namespace

const VectorLayer<StyleRow> kStyleLayer{{"layer_styles", "layer_styles", "Styles for QGIS", Shape::None}, kStyleFields};

std::string GeoPackageStyle(std::string_view layer, const Mission& mission) {
  const LayerLook* look = LookOf(kGeoPackageLooks, layer);
  if (!look) return {};
  const char* times = look->when == When::Instant ? "mode=\"1\" startField=\"time\""
                                                  : "mode=\"2\" startField=\"first\" endField=\"last\"";
  return StyleOf(*look, GeoPackageColumns(), times, mission) + AliasesOf(layer);
}

std::vector<StyleRow> StyleRows(const Mission& mission, const std::vector<std::string>& layers) {
  std::vector<StyleRow> rows;
  for (const std::string& layer : layers) {
    if (const std::string style = GeoPackageStyle(layer, mission); !style.empty())
      rows.push_back({layer, Qml(style), Instant(std::chrono::seconds(rows.size()))});
  }
  return rows;
}

std::string ShapefileQml(std::string_view set, const Mission& mission) {
  const LayerLook* look = LookOf(kShapefileLooks, set);
  if (!look) return {};
  const char* times =  // texts; an end is outside
      look->when == When::Instant
          ? "mode=\"4\" startExpression=\"to_datetime(TimeUTC)\" "
            "endExpression=\"to_datetime(TimeUTC) + to_interval('1 second')\""
          : "mode=\"4\" startExpression=\"to_datetime(TimeStart)\" endExpression=\"to_datetime(TimeEnd)\"";
  return Qml(StyleOf(*look, ShapefileColumns(mission), times, mission) + std::string(qgis::shapefile_aliases_xml));
}

}  // namespace kv::mission
